// SPDX-License-Identifier: MIT
#include "sonrel/base/Paths.h"
#include "sonrel/conformed/ConformedAudioFile.h"
#include "sonrel/conformed/detail/ConformedFileLayout.h"
#include "sonrel/database/CacheLedger.h"
#include "sonrel/files/Checksum.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::project {

namespace {

bool CanRead(const ConformedAudioFile& file, long long sample) {
    unsigned char frame[4];
    int samplesRead = 0;
    return file.GetSamples(sample, 1, frame, sizeof(frame), &samplesRead) == 0;
}

}  // namespace

bool IsWholeConformedFile(std::wstring const& path, int sampleRate) {
    ConformedAudioFile file;
    if (!file.Open(path)) return false;
    if (sampleRate != 0 && file.SampleRate() != sampleRate) return false;
    if (file.SampleCount() == 0) return true;
    return CanRead(file, 0) && CanRead(file, file.SampleCount() - 1);
}

std::optional<std::uint64_t> ConformedFileChecksum(std::wstring const& path,
                                                   std::function<bool()> const& proceed) {
    struct stat status = {};
    const int descriptor =
        files::OpenRegular(zrtl::ToUtf8(path), O_RDONLY, files::Links::Refused, &status);
    if (descriptor < 0) return {};
    std::optional<std::uint64_t> checksum;
    if (const auto layout = ReadConformedFileLayout(descriptor, status.st_size)) {
        checksum = files::ChecksumOf(descriptor, layout->firstByte, status.st_size, proceed);
    }
    files::Close(descriptor);
    return checksum;
}

}  // namespace orlo::project
