// SPDX-License-Identifier: MIT
#pragma once

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sonrel_tests {

/// @p size big-endian bytes of a number.
inline std::string Big(std::uint64_t value, int size) {
    std::string bytes;
    for (int i = size - 1; i >= 0; --i) bytes += static_cast<char>(value >> (8 * i));
    return bytes;
}

/// An element of a Matroska file. Its size always takes 4 bytes.
inline std::string Element(std::uint32_t id, std::string_view content) {
    const int idBytes = id > 0xFFFFFF ? 4 : id > 0xFFFF ? 3 : id > 0xFF ? 2 : 1;
    return Big(id, idBytes) + Big(0x10000000u | content.size(), 4) + std::string(content);
}
inline std::string NumberElement(std::uint32_t id, std::uint64_t value) {
    return Element(id, Big(value, 8));
}

/// A track of sound.
/// @param setup  the set-up data of the decoder; may be empty
/// @param hertz  the sample rate
inline std::string SoundTrack(int number, std::string_view codec, std::uint64_t channels,
                              std::string_view setup = {}, double hertz = 48000.0) {
    const std::string rate = Big(std::bit_cast<std::uint64_t>(hertz), 8);
    return Element(0xAE, NumberElement(0xD7, number) + NumberElement(0x73C5, number) +
                             NumberElement(0x83, 2) + Element(0x86, codec) +
                             (setup.empty() ? std::string() : Element(0x63A2, setup)) +
                             Element(0xE1, Element(0xB5, rate) + NumberElement(0x9F, channels) +
                                               NumberElement(0x6264, 16)));
}

/// A track of uncompressed pictures of 2 by 2 pixels, 16 bytes each.
inline std::string PictureTrack(int number) {
    return Element(0xAE, NumberElement(0xD7, number) + NumberElement(0x73C5, number) +
                             NumberElement(0x83, 1) + Element(0x86, "V_UNCOMPRESSED") +
                             Element(0xE0, NumberElement(0xB0, 2) + NumberElement(0xBA, 2) +
                                               Element(0x2EB524, "BGRA")));
}

/// A packet of a track, at a time in milliseconds.
struct MatroskaPacket {
    int track = 1;
    std::uint64_t timeMs = 0;
    std::string bytes;
};

/// A Matroska file with each packet in a separate cluster.
/// @param fileBytes  the size to fill the file up to with an empty element; 0 for none
inline std::string MatroskaFile(const std::string& tracks,
                                const std::vector<MatroskaPacket>& packets,
                                std::size_t fileBytes = 0) {
    std::string clusters;
    for (const MatroskaPacket& packet : packets) {
        const std::string block =
            Big(0x80u | static_cast<unsigned>(packet.track), 1) + Big(0, 2) + '\x80' + packet.bytes;
        clusters += Element(0x1F43B675, NumberElement(0xE7, packet.timeMs) + Element(0xA3, block));
    }
    const std::string head = Element(0x1A45DFA3, Element(0x4282, "matroska"));
    std::string body = Element(0x1549A966, NumberElement(0x2AD7B1, 1000000)) +
                       Element(0x1654AE6B, tracks) + clusters;
    const std::size_t size = head.size() + 8 + body.size();
    if (fileBytes > size) body += Element(0xEC, std::string(fileBytes - size - 5, '\0'));
    return head + Element(0x18538067, body);
}

}  // namespace sonrel_tests
