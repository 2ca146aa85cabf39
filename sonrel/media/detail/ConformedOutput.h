// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "sonrel/conformed/ConformedFileWriter.h"
#include "sonrel/media/detail/StereoConverter.h"

namespace zrh::media::detail {

/// Collects the samples of a conversion and writes them in blocks that end at multiples of
/// 512 KiB in the file, which takes the kernel the least time.
///
/// With a thread, the blocks are written while the caller converts the next samples. The caller
/// waits while four blocks are not yet written, which bounds the memory. After a block that could
/// not be written, no other block is written.
///
/// Threads: one at a time.
class ConformedOutput {
public:
    /// @param writer      an open file without samples. The caller does not use it before Wait or
    ///                    the end of the output
    /// @param wantThread  writes on a separate thread if the system allows one
    ConformedOutput(orlo::project::ConformedFileWriter* writer, bool wantThread);
    /// Stops the thread. Blocks that it has not begun are not written.
    ~ConformedOutput();
    ConformedOutput(const ConformedOutput&) = delete;
    ConformedOutput& operator=(const ConformedOutput&) = delete;

    /// The samples that are not written yet. The caller appends to them.
    SampleBuffer& Samples() { return Current().samples; }
    /// The frames that fill the current block, above 0.
    std::int64_t FramesToBlockEnd() const;

    /// Writes the complete blocks of Samples. @return false when a block could not be written
    bool WriteFullBlocks();
    /// Writes all of Samples and waits. @return whether everything could be written
    bool WriteAll();
    /// Writes all of Samples, and then frames of the caller without copying them.
    /// @return whether everything could be written
    bool WriteDirectly(const std::int16_t* samples, std::int64_t frames);
    /// Waits until the thread has no block. @return whether every block could be written
    bool Wait();

private:
    struct Block {
        SampleBuffer samples;
        std::size_t values = 0;  ///< to be written; samples after them go to the next block
    };

    Block& Current() { return blocks_[submitted_ % blocks_.size()]; }
    bool Submit(std::size_t values);
    bool Write(const Block& block);
    void WriteOnThread();

    orlo::project::ConformedFileWriter* writer_;
    std::int64_t position_;         ///< of Samples in the file, in bytes
    std::vector<Block> blocks_{1};  ///< used round-robin

    std::mutex mutex_;  ///< guards the members below
    std::condition_variable changed_;
    std::size_t submitted_ = 0;  ///< blocks; written by the caller only
    std::size_t written_ = 0;    ///< blocks
    bool hasFailed_ = false;
    bool isStopped_ = false;
    std::jthread thread_;  ///< last: it uses the members above
};

}  // namespace zrh::media::detail
