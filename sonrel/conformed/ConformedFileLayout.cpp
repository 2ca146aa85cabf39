// SPDX-License-Identifier: MIT
#include "sonrel/conformed/detail/ConformedFileLayout.h"

#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <limits>

#include "sonrel/base/StereoFrame.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::project {

namespace {

constexpr std::uint16_t PCM_TAG = 1;
constexpr std::uint16_t EXTENSIBLE_TAG = 0xFFFE;
/// In an RF64 file: the length is in the "ds64" chunk.
constexpr std::uint32_t LENGTH_ELSEWHERE = 0xFFFFFFFF;
/// Far more than any writer makes. Limits the time of Open for a crafted file.
constexpr int MAX_CHUNKS = 64;

std::uint16_t Word(const unsigned char* bytes) {
    return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

std::uint32_t DoubleWord(const unsigned char* bytes) {
    return Word(bytes) | static_cast<std::uint32_t>(Word(bytes + 2)) << 16;
}

std::uint64_t QuadWord(const unsigned char* bytes) {
    return DoubleWord(bytes) | static_cast<std::uint64_t>(DoubleWord(bytes + 4)) << 32;
}

bool HasName(const unsigned char* bytes, const char* name) {
    return std::memcmp(bytes, name, 4) == 0;
}

/// Reads the header of a file. Our files have the whole header in their first bytes, which one
/// system call reads: a mix of more tracks than open files reopens one file for each block.
class HeaderReader {
public:
    explicit HeaderReader(int descriptor) : descriptor_(descriptor) {
        const ssize_t got =
            files::Uninterrupted([&] { return pread(descriptor, first_, sizeof(first_), 0); });
        if (got > 0) firstSize_ = got;
    }

    bool Read(void* buffer, long long size, long long offset) const {
        if (offset + size > firstSize_) return ReadFullyAt(descriptor_, buffer, size, offset);
        std::memcpy(buffer, first_ + offset, static_cast<std::size_t>(size));
        return true;
    }

private:
    int descriptor_;
    unsigned char first_[64];
    long long firstSize_ = 0;
};

/// The rate of a format chunk; 0 if it is not stereo PCM of 16 bits.
int RateOfFormat(const HeaderReader& file, long long offset, std::uint64_t size) {
    unsigned char format[26] = {};
    if (size < 16) return 0;
    const bool extended = size >= sizeof(format);
    if (!file.Read(format, extended ? sizeof(format) : 16, offset)) return 0;
    const std::uint16_t tag = Word(format);
    const bool isPcm =
        tag == PCM_TAG || (tag == EXTENSIBLE_TAG && extended && Word(format + 24) == PCM_TAG);
    const std::uint32_t rate = DoubleWord(format + 4);
    if (!isPcm || Word(format + 2) != 2 || Word(format + 12) != BYTES_PER_FRAME ||
        Word(format + 14) != 16 || rate > std::numeric_limits<int>::max()) {
        return 0;
    }
    return static_cast<int>(rate);
}

/// The lengths in the header of a file.
struct HeaderLengths {
    bool isLong = false;  ///< RF64
    std::uint64_t fileLength = 0;
    std::uint64_t dataLength = 0;  ///< of an RF64 file
    long long firstChunk = 12;
};

std::optional<HeaderLengths> ReadHeaderLengths(const HeaderReader& file) {
    unsigned char bytes[12];
    if (!file.Read(bytes, sizeof(bytes), 0) || !HasName(bytes + 8, "WAVE")) return {};
    HeaderLengths header;
    header.fileLength = DoubleWord(bytes + 4) + std::uint64_t{8};
    if (HasName(bytes, "RIFF")) return header;
    if (!HasName(bytes, "RF64")) return {};

    unsigned char lengths[8 + 16];
    if (!file.Read(lengths, sizeof(lengths), header.firstChunk)) return {};
    if (!HasName(lengths, "ds64") || DoubleWord(lengths + 4) < 16) return {};
    header.isLong = true;
    header.dataLength = QuadWord(lengths + 16);
    if (DoubleWord(bytes + 4) == LENGTH_ELSEWHERE) header.fileLength = QuadWord(lengths + 8) + 8;
    return header;
}

}  // namespace

bool ReadFullyAt(int descriptor, void* buffer, long long size, long long offset) {
    auto* at = static_cast<unsigned char*>(buffer);
    while (size > 0) {
        const ssize_t got = files::Uninterrupted(
            [&] { return pread(descriptor, at, static_cast<std::size_t>(size), offset); });
        if (got <= 0) return false;
        at += got;
        offset += got;
        size -= got;
    }
    return true;
}

std::optional<ConformedFileLayout> ReadConformedFileLayout(int descriptor, long long fileSize) {
    const HeaderReader file(descriptor);
    const std::optional<HeaderLengths> header = ReadHeaderLengths(file);
    if (!header || header->fileLength != static_cast<std::uint64_t>(fileSize)) return {};

    int rate = 0;
    long long at = header->firstChunk;
    for (int chunk = 0; chunk < MAX_CHUNKS && at + 8 <= fileSize; ++chunk) {
        unsigned char bytes[8];
        if (!file.Read(bytes, sizeof(bytes), at)) return {};
        at += 8;
        const bool isData = HasName(bytes, "data");
        std::uint64_t size = DoubleWord(bytes + 4);
        if (isData && header->isLong && size == LENGTH_ELSEWHERE) size = header->dataLength;
        if (size > static_cast<std::uint64_t>(fileSize - at)) return {};
        if (isData) {
            if (rate == 0 || size % BYTES_PER_FRAME != 0) return {};
            return ConformedFileLayout{at, static_cast<long long>(size) / BYTES_PER_FRAME, rate};
        }
        if (HasName(bytes, "fmt ")) {
            rate = RateOfFormat(file, at, size);
            if (rate == 0) return {};
        }
        at += static_cast<long long>(size + (size & 1));
    }
    return {};
}

}  // namespace orlo::project
