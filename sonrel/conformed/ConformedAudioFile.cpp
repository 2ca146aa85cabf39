// SPDX-License-Identifier: MIT
#include "sonrel/conformed/ConformedAudioFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <utility>

#include "sonrel/base/Paths.h"
#include "sonrel/conformed/detail/ConformedFileInfo.h"
#include "sonrel/conformed/detail/ConformedFileLayout.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::project {

namespace {

static_assert(std::endian::native == std::endian::little, "samples are handed out as they lie");

constexpr int CLOSED = 1;
constexpr int READ_FAILED = 2;
constexpr int BAD_RANGE = 7;
constexpr int BUFFER_TOO_SMALL = 12;
constexpr long long BYTES_PER_FRAME = 4;

/// Frames that are read ahead of a file that was closed and opened again: some blocks of a mix, and
/// few enough to stay in the processor's cache for all streams.
constexpr long long AHEAD_FRAMES = 16384;

/// Never follows a link, so that a name in the cache folder leads to no file outside it.
/// @return the descriptor, or -1
int OpenCacheFile(const std::string& name, struct stat* status) {
    return files::OpenRegular(name, O_RDONLY, files::Links::Refused, status);
}

/// Whether the path leads to the file that the info tell of, unchanged.
bool IsUnchanged(const ConformedFileInfo& info) {
    struct stat status = {};
    return lstat(info.name.c_str(), &status) == 0 && files::IdentityOf(status) == info.identity;
}

/// Opens the file of @p info, and learns them anew unless they tell of this very file.
/// @return the descriptor, or -1
int OpenAndLearn(ConformedFileInfo* info) {
    struct stat status = {};
    const int descriptor = OpenCacheFile(info->name, &status);
    if (descriptor < 0) return -1;
    const files::FileIdentity identity = files::IdentityOf(status);
    if (identity == info->identity) return descriptor;
    info->ahead = {};
    info->identity = identity;
    info->isSettled = files::IsSettled(identity);
    if (const auto layout = ReadConformedFileLayout(descriptor, status.st_size)) {
        info->layout = *layout;
        return descriptor;
    }
    close(descriptor);
    return -1;
}

/// A read that fails leaves nothing ahead: the one that asks for the frames will tell of it.
void FillAhead(int descriptor, ConformedFileInfo* info) {
    const long long start = info->nextFrame.load(std::memory_order_relaxed);
    const long long frames = std::min(AHEAD_FRAMES, info->layout.sampleCount - start);
    info->ahead.start = start;
    info->ahead.bytes.resize(static_cast<std::size_t>(std::max(frames, 0LL) * BYTES_PER_FRAME));
    if (!ReadFullyAt(descriptor, info->ahead.bytes.data(),
                     static_cast<long long>(info->ahead.bytes.size()),
                     info->layout.firstByte + start * BYTES_PER_FRAME)) {
        info->ahead.bytes.clear();
    }
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
    info_ = std::move(other.info_);
    // Nothing runs beside a move: the plain order of memory is enough.
    descriptor_.store(other.descriptor_.load(std::memory_order_relaxed), std::memory_order_relaxed);
    other.descriptor_.store(-1, std::memory_order_relaxed);
    return *this;
}

bool ConformedAudioFile::Open(std::wstring const& path) {
    // The path may be this object's own, which closing takes away.
    std::wstring newPath = path;
    Close();
    if (newPath.empty() || newPath.find(L'\0') != std::wstring::npos) return false;

    auto info = RecentConformedFiles::Take(newPath);
    if (!info) {
        info = std::make_unique<ConformedFileInfo>();
        info->name = zrtl::ToUtf8(newPath);
        info->path = std::move(newPath);
    } else if (info->HoldsNextRead() && IsUnchanged(*info)) {
        info_ = std::move(info);
        return true;
    }
    const files::FileIdentity before = info->identity;
    const int descriptor = OpenAndLearn(info.get());
    if (descriptor < 0) return false;
    info_ = std::move(info);
    descriptor_ = descriptor;
    if (info_->identity == before) FillAhead(descriptor, info_.get());
    return true;
}

std::wstring const& ConformedAudioFile::FilePath() const {
    static const std::wstring CLOSED_PATH;
    return info_ ? info_->path : CLOSED_PATH;
}
long long ConformedAudioFile::SampleCount() const {
    return info_ ? info_->layout.sampleCount : 0;
}
int ConformedAudioFile::SampleRate() const {
    return info_ ? info_->layout.sampleRate : 0;
}

int ConformedAudioFile::GetSamples(long long start, int count, unsigned char* buffer,
                                   int bufferBytes, int* samplesRead) const {
    *samplesRead = 0;
    if (!info_) return CLOSED;
    if (start < 0 || count < 0) return BAD_RANGE;
    if (count * BYTES_PER_FRAME > bufferBytes) return BUFFER_TOO_SMALL;
    if (count == 0 || start >= info_->layout.sampleCount) return 0;

    const long long frames = std::min<long long>(count, info_->layout.sampleCount - start);
    if (!info_->ahead.Copy(start, frames, buffer)) {
        const int descriptor = Descriptor();
        // The file may have been cut short since it was opened: a read, unlike a mapping, says so.
        if (descriptor < 0 || !ReadFullyAt(descriptor, buffer, frames * BYTES_PER_FRAME,
                                           info_->layout.firstByte + start * BYTES_PER_FRAME)) {
            return READ_FAILED;
        }
    }
    info_->nextFrame.store(start + frames, std::memory_order_relaxed);
    info_->lastCount.store(frames, std::memory_order_relaxed);
    *samplesRead = static_cast<int>(frames);
    return 0;
}

/// The descriptor of the open file; -1 when the path no longer leads to it. Of threads that need it
/// at once, all open the file and the first one's stays.
int ConformedAudioFile::Descriptor() const {
    int descriptor = descriptor_.load();
    if (descriptor >= 0) return descriptor;
    struct stat status = {};
    const int opened = OpenCacheFile(info_->name, &status);
    if (opened < 0) return -1;
    if (files::IdentityOf(status) != info_->identity) {
        close(opened);
        return -1;
    }
    if (descriptor_.compare_exchange_strong(descriptor, opened)) return opened;
    close(opened);
    return descriptor;
}

void ConformedAudioFile::Close() {
    const int descriptor = descriptor_.load(std::memory_order_relaxed);
    if (descriptor >= 0) close(descriptor);
    descriptor_.store(-1, std::memory_order_relaxed);
    if (info_) RecentConformedFiles::Keep(std::move(info_));
}

}  // namespace orlo::project
