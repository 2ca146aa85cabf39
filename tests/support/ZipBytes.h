// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/WaveBytes.h"

namespace sonrel_tests {

constexpr int STORED = 0;
constexpr int DEFLATED = 8;

/// A file of a ZIP archive. The fields after its bytes can contradict them.
struct ZippedFile {
    std::string name;
    std::string bytes;
    int method = STORED;
    std::uint32_t mode = 0100644;  ///< type and permissions
    int flags = 0x800;             ///< UTF-8 names
    std::optional<std::uint64_t> declaredSize = std::nullopt;
    std::optional<std::uint32_t> declaredChecksum = std::nullopt;
};

inline std::uint32_t Crc32(std::string_view bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320U : 0U);
    }
    return ~crc;
}

/// The bytes as a deflate stream of one uncompressed block, of at most 65535 bytes.
inline std::string Deflated(const std::string& bytes) {
    return '\1' + Little(bytes.size(), 2) + Little(~bytes.size(), 2) + bytes;
}

/// The fields that the two headers of a file share, from the flags to the length of the extra data.
inline std::string ZipFields(const ZippedFile& file, const std::string& packed) {
    return Little(static_cast<std::uint64_t>(file.flags), 2) +
           Little(static_cast<std::uint64_t>(file.method), 2) + Little(0, 2) + Little(0x21, 2) +
           Little(file.declaredChecksum.value_or(Crc32(file.bytes)), 4) + Little(packed.size(), 4) +
           Little(file.declaredSize.value_or(file.bytes.size()), 4) + Little(file.name.size(), 2) +
           Little(0, 2);
}

/// A ZIP archive that a Unix program wrote.
inline std::string ZipBytes(const std::vector<ZippedFile>& files) {
    std::string archive;
    std::string directory;
    for (const ZippedFile& file : files) {
        const std::string packed = file.method == DEFLATED ? Deflated(file.bytes) : file.bytes;
        const std::string fields = ZipFields(file, packed);
        directory += "PK\1\2" + Little(0x0314, 2) + Little(20, 2) + fields + Little(0, 6) +
                     Little(std::uint64_t{file.mode} << 16, 4) + Little(archive.size(), 4) +
                     file.name;
        archive += "PK\3\4" + Little(20, 2) + fields + file.name + packed;
    }
    return archive + directory + "PK\5\6" + Little(0, 4) + Little(files.size(), 2) +
           Little(files.size(), 2) + Little(directory.size(), 4) + Little(archive.size(), 4) +
           Little(0, 2);
}

}  // namespace sonrel_tests
