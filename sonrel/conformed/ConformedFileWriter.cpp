// SPDX-License-Identifier: MIT
#include "sonrel/conformed/ConformedFileWriter.h"

#include <bit>
#include <cerrno>
#include <utility>

#include <unistd.h>

#include "sonrel/conformed/detail/ConformedFileLayout.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::project {
namespace {

static_assert(std::endian::native == std::endian::little, "samples are written unchanged");

constexpr std::int64_t SYNC_BYTES = 8 << 20;

}  // namespace

ConformedFileWriter::~ConformedFileWriter() {
    if (descriptor_ < 0) return;
    files::Uninterrupted([this] { return ::ftruncate(descriptor_, 0); });
    files::Close(descriptor_);
}

ConformedFileWriter::Result ConformedFileWriter::Open(const std::string& path, int rate,
                                                      std::int64_t maxFrames) {
    descriptor_ = files::OpenNew(path);
    if (descriptor_ < 0) return ResultOf(errno);
    path_ = path;
    rate_ = rate;
    format_ = zrtl::WavFormatFor(maxFrames);
    headerBytes_ = static_cast<std::int64_t>(zrtl::WavHeader(format_, rate_, 0).size());
    return ::lseek(descriptor_, headerBytes_, SEEK_SET) == headerBytes_ ? Result::Done
                                                                        : Result::Failed;
}

bool ConformedFileWriter::Write(const std::int16_t* samples, std::int64_t frames) {
    if (descriptor_ < 0) return false;
    if (frames_ + frames > zrtl::MAX_PLAIN_WAV_FRAMES && format_ == zrtl::WavFormat::Wav) {
        return false;
    }
    const auto bytes = static_cast<std::size_t>(frames * BYTES_PER_FRAME);
    if (files::WriteFully(descriptor_, samples, bytes) != bytes) return false;
    checksum_.Add(samples, bytes);
    frames_ += frames;
    return StartSyncIfDue();
}

bool ConformedFileWriter::StartSyncIfDue() {
    const std::int64_t bytes = Position() - syncStarted_;
    if (bytes < SYNC_BYTES) return true;
    if (!files::StartSync(descriptor_, syncStarted_, bytes)) return false;
    syncStarted_ += bytes;
    return true;
}

ConformedFileWriter::Result ConformedFileWriter::ResultOf(int error) {
    if (error == EEXIST) return Result::Exists;
    return error == EMFILE || error == ENFILE ? Result::TooManyFiles : Result::Failed;
}

ConformedFileWriter::Result ConformedFileWriter::Finish() {
    if (descriptor_ < 0) return Result::Failed;
    const std::string header = zrtl::WavHeader(format_, rate_, frames_);
    checksum_.Add(header.data(), header.size());
    errno = 0;
    const bool whole =
        ::lseek(descriptor_, 0, SEEK_SET) == 0 &&
        files::WriteFully(descriptor_, header.data(), header.size()) == header.size() &&
        files::SyncWithFolder(path_, descriptor_);
    const Result result = whole ? Result::Done : ResultOf(errno);
    return files::Close(std::exchange(descriptor_, -1)) ? result : Result::Failed;
}

}  // namespace orlo::project
