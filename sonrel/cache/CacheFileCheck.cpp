// SPDX-License-Identifier: MIT
#include "sonrel/cache/CacheFileCheck.h"

#include <array>
#include <cstdio>

#include "sonrel/base/Paths.h"
#include "sonrel/cache/detail/BinaryFile.h"
#include "sonrel/cache/detail/BlockAnalysis.h"
#include "sonrel/cache/detail/MediaFingerprint.h"
#include "sonrel/cache/detail/PeakFormat.h"
#include "sonrel/cache/detail/PeakHeader.h"
#include "sonrel/files/Checksum.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::sonrel::CacheFileCheck {

using project::utility::BinaryFile;

namespace {

/// Whether a whole block can be read.
bool CanReadBlock(BinaryFile& file, const detail::PeakHeader& header, long long block) {
    std::array<char, 1 + 2 * detail::MAX_PEAK_CHANNELS> bytes{};
    const long long size = detail::PeakBlockBytes(header.channels);
    return file.Seek(detail::PEAK_HEADER_BYTES + block * size, SEEK_SET) &&
           file.Read(bytes.data(), static_cast<std::size_t>(size));
}

/// Whether the position is the end of the file.
bool IsAtEnd(BinaryFile& file) {
    char byte = 0;
    return file.ReadSome(&byte, 1) == 0;
}

}  // namespace

bool IsWholePeakFile(const std::wstring& path, int channels) {
    BinaryFile file;
    detail::PeakHeader header;
    if (!file.OpenForReading(path) || !detail::ReadPeakHeader(file, &header)) return false;
    if (channels != 0 && header.channels != channels) return false;
    if (header.blocks == 0) return IsAtEnd(file);
    return CanReadBlock(file, header, 0) && CanReadBlock(file, header, header.blocks - 1LL) &&
           IsAtEnd(file);
}

std::optional<std::uint64_t> PeakFileChecksum(const std::wstring& path,
                                              const std::function<bool()>& proceed) {
    struct stat status = {};
    const int descriptor =
        files::OpenRegular(zrtl::ToUtf8(path), O_RDONLY, files::Links::Refused, &status);
    if (descriptor < 0) return {};
    const std::optional<std::uint64_t> checksum =
        files::ChecksumOf(descriptor, detail::PEAK_HEADER_BYTES, status.st_size, proceed);
    files::Close(descriptor);
    return checksum;
}

std::wstring MediaFingerprint(const std::wstring& mediaPath) {
    return detail::MediaFingerprint(mediaPath);
}

}  // namespace orlo::sonrel::CacheFileCheck
