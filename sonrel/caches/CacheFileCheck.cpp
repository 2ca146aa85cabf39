// SPDX-License-Identifier: MIT
#include "sonrel/caches/CacheFileCheck.h"

#include <cstdio>

#include "sonrel/caches/detail/BinaryFile.h"
#include "sonrel/caches/detail/BlockAnalysis.h"
#include "sonrel/caches/detail/PeakFormat.h"
#include "sonrel/caches/detail/PeakHeader.h"

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

}  // namespace orlo::sonrel::CacheFileCheck
