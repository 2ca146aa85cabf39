// SPDX-License-Identifier: MIT
#include "host/output/OggPages.h"

#include <array>
#include <cstdint>
#include <numeric>
#include <string>

namespace orlo::host {

namespace {

// A page is a header, a table of segment sizes, and the segments.
constexpr std::size_t HEADER = 27;
constexpr std::size_t SERIAL = 14;
constexpr std::size_t CHECKSUM = 22;
constexpr std::size_t SEGMENT_COUNT = 26;
constexpr std::size_t MAX_PAGE = HEADER + 255 + 255 * 255;
constexpr std::size_t FIELD = 4;

constexpr std::array<std::uint32_t, 256> CHECKSUM_TABLE = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t rest = byte << 24;
        for (int bit = 0; bit < 8; ++bit) rest = rest << 1 ^ (rest >> 31) * 0x04C11DB7U;
        table[byte] = rest;
    }
    return table;
}();

std::uint32_t Checksum(const std::string& page) {
    std::uint32_t sum = 0;
    for (const char letter : page) {
        sum = sum << 8 ^ CHECKSUM_TABLE[sum >> 24 ^ static_cast<unsigned char>(letter)];
    }
    return sum;
}

/// A number as a field of a page.
std::string Field(std::uint32_t value) {
    std::string bytes;
    for (std::size_t i = 0; i < FIELD; ++i) bytes += static_cast<char>(value >> (8 * i));
    return bytes;
}

/// The page at an offset; empty at the end of the file.
std::string ReadPage(const PartialFile& file, long long offset) {
    std::string page(MAX_PAGE, '\0');
    const std::size_t got = file.ReadAt(page.data(), page.size(), offset);
    if (got < HEADER || !page.starts_with("OggS")) return {};
    const auto segments = static_cast<unsigned char>(page[SEGMENT_COUNT]);
    const auto sizes = page.begin() + HEADER;
    const std::size_t content = std::accumulate(
        sizes, sizes + segments, std::size_t{0},
        [](std::size_t sum, char size) { return sum + static_cast<unsigned char>(size); });
    page.resize(HEADER + segments + content);
    return page;
}

}  // namespace

void FixOggSerial(PartialFile& file) {
    long long offset = 0;
    for (std::string page; !(page = ReadPage(file, offset)).empty();) {
        page.replace(SERIAL, FIELD, Field(1));
        page.replace(CHECKSUM, FIELD, Field(0));
        page.replace(CHECKSUM, FIELD, Field(Checksum(page)));
        file.WriteAt(page.substr(SERIAL, CHECKSUM + FIELD - SERIAL),
                     offset + static_cast<long long>(SERIAL));
        offset += static_cast<long long>(page.size());
    }
}

}  // namespace orlo::host
