// SPDX-License-Identifier: MIT
#include "sonrel/conformed/ConformedAudioFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

#include "sonrel/base/Paths.h"
#include "sonrel/base/StereoFrame.h"
#include "sonrel/conformed/detail/ConformedFileLayout.h"
#include "sonrel/conformed/detail/RecentConformedFiles.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::project {

namespace {

static_assert(std::endian::native == std::endian::little, "samples are copied as they are stored");

constexpr int CLOSED = 1;
constexpr int READ_FAILED = 2;
constexpr int BAD_RANGE = 7;
constexpr int BUFFER_TOO_SMALL = 12;

/// Most frames that are read in advance of a file that was closed and opened again: more than a
/// second of most rates. A fourth of it cost a seventh more time in a mix of 16 streams.
constexpr long long MAX_AHEAD_FRAMES = 65536;
/// The same for all files of a thread together, as long as their number does not grow.
constexpr long long MAX_AHEAD_FRAMES_OF_ALL = 64 * MAX_AHEAD_FRAMES;

/// Never follows a link, so that no name in the cache folder leads to a file outside it.
/// @return the descriptor, or -1
int OpenCacheFile(const std::string& name, struct stat* status) {
    return files::OpenRegular(name, O_RDONLY, files::Links::Refused, status);
}

/// Whether the path leads to the same file in the same state, now or at an earlier moment of the
/// current tick: a mix opens a file many times in a tick.
bool IsUnchanged(ConformedAudioFileImpl* file) {
    const std::int64_t now = files::fileClock.load(std::memory_order_relaxed)();
    if (now == file->unchangedAt) return true;
    struct stat status = {};
    if (lstat(file->name.c_str(), &status) != 0 || files::IdentityOf(status) != file->identity) {
        return false;
    }
    file->unchangedAt = now;
    return true;
}

/// Opens the file and reads its layout, unless the record is of this very file.
/// @return the descriptor, or -1
int OpenAndLearn(ConformedAudioFileImpl* file) {
    struct stat status = {};
    const int descriptor = OpenCacheFile(file->name, &status);
    if (descriptor < 0) return -1;
    const files::FileIdentity identity = files::IdentityOf(status);
    if (identity == file->identity) return descriptor;
    file->ahead.Drop();
    file->identity = identity;
    file->isSettled = files::IsSettled(identity);
    if (const auto layout = ReadConformedFileLayout(descriptor, status.st_size)) {
        file->layout = *layout;
        return descriptor;
    }
    close(descriptor);
    return -1;
}

/// Whole reads of the last length, which may vary by one frame, so that no frame is read twice, up
/// to the end of a run of the previous length: the thread of a mix renders pieces of one length. 0
/// at this end, when such reads are too long, and when the last read did not continue the read
/// before it, unless it follows a run: backward playback and overlapping reads need other frames.
long long AheadFrames(const ConformedAudioFileImpl& file, long long start) {
    const long long read = file.lastCount.load(std::memory_order_relaxed);
    const long long run = start - file.runStart.load(std::memory_order_relaxed);
    const long long previous = file.previousRun.load(std::memory_order_relaxed);
    const bool isRun = run > read || previous > 2 * (read + 1);
    const long long left = previous - run;
    if (run == 0 || !isRun || left == 0) return 0;
    const long long most =
        std::min(MAX_AHEAD_FRAMES, MAX_AHEAD_FRAMES_OF_ALL / (RecentConformedFiles::Count() + 1));
    const long long reads = left > 0 ? (left + read - 1) / read : most;
    return std::min(std::min(reads, most / (read + 1)) * (read + 1),
                    file.layout.sampleCount - start);
}

/// After a failure no frames are ahead: the read that needs them reports it.
void FillAhead(int descriptor, ConformedAudioFileImpl* file) {
    const long long start = file->nextFrame.load(std::memory_order_relaxed);
    file->ahead.Fill(descriptor, start, std::max(AheadFrames(*file, start), 0LL),
                     file->layout.firstByte + start * BYTES_PER_FRAME);
}

/// Closes an open file and keeps its record.
void CloseAndKeep(std::unique_ptr<ConformedAudioFileImpl> file) {
    if (!file) return;
    file->CloseDescriptor();
    RecentConformedFiles::Keep(std::move(file));
}

/// The record of a path, from the last time it was open or new.
std::unique_ptr<ConformedAudioFileImpl> RecordOf(const std::wstring& path) {
    auto file = RecentConformedFiles::Take(path);
    if (file) return file;
    file = std::make_unique<ConformedAudioFileImpl>();
    file->name = zrtl::ToUtf8(path);
    file->path = path;
    return file;
}

}  // namespace

void ReadAhead::Fill(int descriptor, long long start, long long frames, long long firstByte) {
    if (frames > room_) {
        frames_ = 0;
        bytes_ = std::make_unique_for_overwrite<unsigned char[]>(
            static_cast<std::size_t>(frames * BYTES_PER_FRAME));
        room_ = frames;
    }
    start_ = start;
    const bool isRead = ReadFullyAt(descriptor, bytes_.get(), frames * BYTES_PER_FRAME, firstByte);
    frames_ = isRead ? frames : 0;
}

bool ReadAhead::Holds(long long first, long long count) const {
    return first >= start_ && first - start_ <= frames_ - count;
}

bool ReadAhead::Copy(long long first, long long count, unsigned char* buffer) const {
    if (!Holds(first, count)) return false;
    std::memcpy(buffer, bytes_.get() + (first - start_) * BYTES_PER_FRAME,
                static_cast<std::size_t>(count * BYTES_PER_FRAME));
    return true;
}

bool ConformedAudioFileImpl::HoldsNextRead() const {
    const long long next = nextFrame.load(std::memory_order_relaxed);
    const long long wanted =
        std::min(lastCount.load(std::memory_order_relaxed), layout.sampleCount - next);
    return wanted > 0 && ahead.Holds(next, wanted);
}

void ConformedAudioFileImpl::NoteRead(long long start, long long frames) {
    const long long end = nextFrame.load(std::memory_order_relaxed);
    if (start != end) {
        previousRun.store(end - runStart.load(std::memory_order_relaxed),
                          std::memory_order_relaxed);
        runStart.store(start, std::memory_order_relaxed);
    }
    nextFrame.store(start + frames, std::memory_order_relaxed);
    lastCount.store(frames, std::memory_order_relaxed);
}

/// Of threads that need the descriptor at once, all open the file and the first one's is kept.
int ConformedAudioFileImpl::Descriptor() {
    int current = descriptor.load();
    if (current >= 0) return current;
    struct stat status = {};
    const int opened = OpenCacheFile(name, &status);
    if (opened < 0) return -1;
    if (files::IdentityOf(status) != identity) {
        close(opened);
        return -1;
    }
    if (descriptor.compare_exchange_strong(current, opened)) return opened;
    close(opened);
    return current;
}

/// Nothing runs at the same time as Close: the relaxed order of memory is enough.
void ConformedAudioFileImpl::CloseDescriptor() {
    const int current = descriptor.load(std::memory_order_relaxed);
    if (current >= 0) close(current);
    descriptor.store(-1, std::memory_order_relaxed);
}

ConformedAudioFile::ConformedAudioFile() = default;
ConformedAudioFile::~ConformedAudioFile() {
    CloseAndKeep(std::move(impl_));
}

ConformedAudioFile::ConformedAudioFile(ConformedAudioFile&& other) noexcept = default;

ConformedAudioFile& ConformedAudioFile::operator=(ConformedAudioFile&& other) noexcept {
    if (this == &other) return *this;
    CloseAndKeep(std::exchange(impl_, std::move(other.impl_)));
    return *this;
}

bool ConformedAudioFile::Open(std::wstring const& path) {
    if (impl_) {
        // The path may be that of this object, which closing clears.
        // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
        const std::wstring newPath = path;
        CloseAndKeep(std::move(impl_));
        return Open(newPath);
    }
    if (path.empty() || path.find(L'\0') != std::wstring::npos) return false;

    auto file = RecordOf(path);
    if (file->HoldsNextRead() && IsUnchanged(file.get())) {
        impl_ = std::move(file);
        return true;
    }
    const files::FileIdentity before = file->identity;
    file->descriptor = OpenAndLearn(file.get());
    if (file->descriptor < 0) return false;
    if (file->identity == before) FillAhead(file->descriptor, file.get());
    impl_ = std::move(file);
    return true;
}

std::wstring const& ConformedAudioFile::FilePath() const {
    static const std::wstring CLOSED_PATH;
    return impl_ ? impl_->path : CLOSED_PATH;
}
long long ConformedAudioFile::SampleCount() const {
    return impl_ ? impl_->layout.sampleCount : 0;
}
int ConformedAudioFile::SampleRate() const {
    return impl_ ? impl_->layout.sampleRate : 0;
}

int ConformedAudioFile::GetSamples(long long start, int count, unsigned char* buffer,
                                   int bufferBytes, int* samplesRead) const {
    *samplesRead = 0;
    if (!impl_) return CLOSED;
    if (start < 0 || count < 0) return BAD_RANGE;
    if (count * BYTES_PER_FRAME > bufferBytes) return BUFFER_TOO_SMALL;
    if (count == 0 || start >= impl_->layout.sampleCount) return 0;

    const long long frames = std::min<long long>(count, impl_->layout.sampleCount - start);
    if (!impl_->ahead.Copy(start, frames, buffer)) {
        const int descriptor = impl_->Descriptor();
        // The file may have been truncated since it was opened: a read, unlike a mapping, reports
        // it.
        if (descriptor < 0 || !ReadFullyAt(descriptor, buffer, frames * BYTES_PER_FRAME,
                                           impl_->layout.firstByte + start * BYTES_PER_FRAME)) {
            return READ_FAILED;
        }
    }
    impl_->NoteRead(start, frames);
    *samplesRead = static_cast<int>(frames);
    return 0;
}

}  // namespace orlo::project
