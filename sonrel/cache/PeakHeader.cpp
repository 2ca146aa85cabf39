// SPDX-License-Identifier: MIT
#include "sonrel/cache/detail/PeakHeader.h"

#include <array>
#include <cstring>

#include "sonrel/cache/detail/BlockAnalysis.h"
#include "sonrel/cache/detail/PeakFormat.h"

namespace orlo::sonrel::detail {

using project::utility::BinaryFile;

namespace {

bool ReadNumber(BinaryFile& file, std::uint32_t* number) {
    std::array<unsigned char, 4> bytes{};
    if (!file.Read(bytes.data(), bytes.size())) return false;
    *number = static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
              static_cast<std::uint32_t>(bytes[2]) << 16 |
              static_cast<std::uint32_t>(bytes[3]) << 24;
    return true;
}

}  // namespace

bool ReadPeakHeader(BinaryFile& file, PeakHeader* header) {
    std::array<char, PEAK_MAGIC.size()> magic{};
    if (!file.Read(magic.data(), magic.size())) return false;
    if (std::memcmp(magic.data(), PEAK_MAGIC.data(), magic.size()) != 0) return false;
    std::uint32_t number = 0;
    if (!ReadNumber(file, &number) || number != PEAK_VERSION) return false;
    if (!ReadNumber(file, &number)) return false;
    const auto channels = static_cast<std::int32_t>(number);
    if (channels < 1 || channels > MAX_PEAK_CHANNELS) return false;
    if (!ReadNumber(file, &number)) return false;
    *header = {channels, number};
    return true;
}

}  // namespace orlo::sonrel::detail
