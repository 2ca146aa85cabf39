// SPDX-License-Identifier: MIT
#include "sonrel/contracts/project/ConformedAudioFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <optional>
#include <utility>

#include "sonrel/contracts/zrtl/Paths.h"
#include "sonrel/standin/project/detail/ConformedFileLayout.h"

namespace orlo::project {

namespace {

static_assert(std::endian::native == std::endian::little, "samples are handed out as they lie");

constexpr int CLOSED = 1;
constexpr int READ_FAILED = 2;
constexpr int BAD_RANGE = 7;
constexpr int BUFFER_TOO_SMALL = 12;
constexpr long long BYTES_PER_FRAME = 4;

/// Never follows a link, so that a name in the cache folder leads to no file outside it, and never
/// waits for the other end of a pipe.
int OpenForReading(std::wstring const& path) {
    if (path.empty() || path.find(L'\0') != std::wstring::npos) return -1;
    return open(zrtl::ToUtf8(path).c_str(),
                O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
}

}  // namespace

ConformedAudioFile::ConformedAudioFile() = default;
ConformedAudioFile::~ConformedAudioFile() {
    Close();
}

ConformedAudioFile::ConformedAudioFile(ConformedAudioFile&& other) noexcept {
    *this = std::move(other);
}

ConformedAudioFile& ConformedAudioFile::operator=(ConformedAudioFile&& other) noexcept {
    if (this == &other) return *this;
    Close();
    path_ = std::move(other.path_);
    other.path_.clear();
    descriptor_ = std::exchange(other.descriptor_, -1);
    firstByte_ = std::exchange(other.firstByte_, 0);
    sampleCount_ = std::exchange(other.sampleCount_, 0);
    sampleRate_ = std::exchange(other.sampleRate_, 0);
    return *this;
}

bool ConformedAudioFile::Open(std::wstring const& path) {
    // The path may be this object's own, which closing empties.
    std::wstring newPath = path;
    Close();
    descriptor_ = OpenForReading(newPath);
    if (descriptor_ < 0) return false;
    struct stat status = {};
    std::optional<ConformedFileLayout> layout;
    if (fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode)) {
        layout = ReadConformedFileLayout(descriptor_, status.st_size);
    }
    if (!layout) {
        Close();
        return false;
    }
    path_ = std::move(newPath);
    firstByte_ = layout->firstByte;
    sampleCount_ = layout->sampleCount;
    sampleRate_ = layout->sampleRate;
    return true;
}

std::wstring const& ConformedAudioFile::FilePath() const {
    return path_;
}
long long ConformedAudioFile::SampleCount() const {
    return sampleCount_;
}
int ConformedAudioFile::SampleRate() const {
    return sampleRate_;
}

int ConformedAudioFile::GetSamples(long long start, int count, unsigned char* buffer,
                                   int bufferBytes, int* samplesRead) const {
    *samplesRead = 0;
    if (descriptor_ < 0) return CLOSED;
    if (start < 0 || count < 0) return BAD_RANGE;
    if (count * BYTES_PER_FRAME > bufferBytes) return BUFFER_TOO_SMALL;
    if (start >= sampleCount_) return 0;

    const long long frames = std::min<long long>(count, sampleCount_ - start);
    // The file may have been cut short since it was opened: a read, unlike a mapping, says so.
    if (!ReadFullyAt(descriptor_, buffer, frames * BYTES_PER_FRAME,
                     firstByte_ + start * BYTES_PER_FRAME)) {
        return READ_FAILED;
    }
    *samplesRead = static_cast<int>(frames);
    return 0;
}

void ConformedAudioFile::Close() {
    if (descriptor_ >= 0) close(descriptor_);
    descriptor_ = -1;
    path_.clear();
    firstByte_ = 0;
    sampleCount_ = 0;
    sampleRate_ = 0;
}

}  // namespace orlo::project
