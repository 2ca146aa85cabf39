// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/ConformedOutput.h"

#include <algorithm>
#include <system_error>

#include "sonrel/base/StereoFrame.h"

namespace zrh::media::detail {
namespace {

constexpr std::int64_t BLOCK_BYTES = 512 << 10;
/// Blocks of an output with a thread: enough that the caller rarely waits for the disk.
constexpr std::size_t BLOCKS_FOR_THREAD = 4;
constexpr std::int64_t VALUE_BYTES = sizeof(std::int16_t);

/// The first multiple of a block after a position.
std::int64_t BlockEndAfter(std::int64_t position) {
    return (position / BLOCK_BYTES + 1) * BLOCK_BYTES;
}

}  // namespace

ConformedOutput::ConformedOutput(orlo::project::ConformedFileWriter* writer, bool wantThread)
    : writer_(writer), position_(writer->Position()) {
    if (!wantThread) return;
    blocks_.resize(BLOCKS_FOR_THREAD);  // before the thread, which only the destructor stops
    try {
        thread_ = std::jthread([this] { WriteOnThread(); });
    } catch (const std::system_error&) {
        // The calling thread writes.
    }
}

ConformedOutput::~ConformedOutput() {
    {
        const std::lock_guard lock(mutex_);
        isStopped_ = true;
    }
    changed_.notify_all();
}

std::int64_t ConformedOutput::FramesToBlockEnd() const {
    return (BlockEndAfter(position_) - position_) / zrtl::FRAME_BYTES;
}

bool ConformedOutput::WriteFullBlocks() {
    const std::int64_t end = position_ + static_cast<std::int64_t>(Samples().Size()) * VALUE_BYTES;
    const std::int64_t blockEnd = end / BLOCK_BYTES * BLOCK_BYTES;
    if (blockEnd <= position_) return true;
    return Submit(static_cast<std::size_t>((blockEnd - position_) / VALUE_BYTES));
}

bool ConformedOutput::WriteAll() {
    return (Samples().Size() == 0 || Submit(Samples().Size())) && Wait();
}

bool ConformedOutput::WriteDirectly(const std::int16_t* samples, std::int64_t frames) {
    if (!WriteAll()) return false;
    position_ += frames * zrtl::FRAME_BYTES;
    return writer_->Write(samples, frames);
}

bool ConformedOutput::Wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return hasFailed_ || written_ == submitted_; });
    return !hasFailed_;
}

/// Writes the first values of the current block, or passes them to the thread, and moves the values
/// after them to the next block.
bool ConformedOutput::Submit(std::size_t values) {
    Block& full = Current();
    full.values = values;
    position_ += static_cast<std::int64_t>(values) * VALUE_BYTES;
    const bool hasThread = thread_.joinable();
    const bool isWritten = hasThread || (!hasFailed_ && Write(full));
    {
        std::unique_lock lock(mutex_);
        ++submitted_;
        if (!hasThread) ++written_;
        hasFailed_ = hasFailed_ || !isWritten;
        changed_.notify_all();
        changed_.wait(lock,
                      [this] { return hasFailed_ || submitted_ - written_ < blocks_.size(); });
        if (hasFailed_) return false;
    }
    Current().samples.Assign(full.samples.Data() + values, full.samples.Size() - values);
    return true;
}

bool ConformedOutput::Write(const Block& block) {
    return writer_->Write(block.samples.Data(), static_cast<std::int64_t>(block.values / 2));
}

void ConformedOutput::WriteOnThread() {
    std::unique_lock lock(mutex_);
    while (!hasFailed_) {
        changed_.wait(lock, [this] { return isStopped_ || written_ < submitted_; });
        if (isStopped_) return;
        const Block& block = blocks_[written_ % blocks_.size()];
        lock.unlock();
        const bool isWritten = Write(block);
        lock.lock();
        ++written_;
        hasFailed_ = !isWritten;
        changed_.notify_all();
    }
}

}  // namespace zrh::media::detail
