// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "tests/support/MatroskaBytes.h"

namespace sonrel_tests {

/// A packet of AAC in mono that decodes to 1024 frames of zeros.
inline const std::string GOOD_PACKET("\0\0\0\x07", 4);
/// A packet that counts as 1024 frames, as every packet of the stream does, and does not decode: it
/// names a channel that the stream does not have.
inline const std::string BAD_PACKET = "\x0A";

/// A run of equal packets.
struct PacketRun {
    int count;
    const std::string& packet;
};

/// A Matroska file of AAC at 48000 Hz, 31 to 34 bytes a packet.
/// @param fileBytes  the size to fill the file up to; 0 for none
inline std::string AacFile(const std::vector<PacketRun>& runs, std::size_t fileBytes = 0) {
    std::vector<MatroskaPacket> packets;
    for (const PacketRun& run : runs) {
        for (int i = 0; i < run.count; ++i) {
            packets.push_back({1, 21 * packets.size(), run.packet});
        }
    }
    return MatroskaFile(SoundTrack(1, "A_AAC", 1, "\x11\x88"), packets, fileBytes);
}

}  // namespace sonrel_tests
