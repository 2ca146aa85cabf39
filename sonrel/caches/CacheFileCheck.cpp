// SPDX-License-Identifier: MIT
#include "sonrel/caches/CacheFileCheck.h"

#include <cstdio>

#include "sonrel/caches/detail/BinaryFile.h"
#include "sonrel/caches/detail/BlockAnalysis.h"
#include "sonrel/caches/detail/MediaFingerprint.h"
#include "sonrel/caches/detail/PeakFormat.h"
#include "sonrel/caches/detail/PeakHeader.h"
#include "sonrel/contracts/zrtl/Paths.h"
#include "sonrel/files/Checksum.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::sonrel::CacheFileCheck {

using project::utility::BinaryFile;

namespace {

/// Whether a file has exactly so many bytes and the last one can be read.
bool EndsAt(BinaryFile& file, long long length) {
    char byte = 0;
    return file.Seek(length - 1, SEEK_SET) && file.Read(&byte, 1) && file.ReadSome(&byte, 1) == 0;
}

}  // namespace

bool IsWholePeakFile(const std::wstring& path, int channels) {
    BinaryFile file;
    detail::PeakHeader header;
    if (!file.OpenForReading(path) || !detail::ReadPeakHeader(file, &header)) return false;
    if (channels != 0 && header.channels != channels) return false;
    const long long blockBytes = detail::PeakBlockBytes(header.channels);
    return EndsAt(file, detail::PEAK_HEADER_BYTES + header.blocks * blockBytes);
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
