// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <condition_variable>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "host/mix/MixRender.h"

namespace orlo::host {

/// Mixes a range on several threads, with the samples and the meter blocks of one mixer.
///
/// The range is divided into chunks of consecutive blocks. Each worker has separate mixers. It
/// takes the next chunk, advances its mixers to the position of the chunk in the noise stream, and
/// renders it. The thread that calls Run passes on the chunks in order. A worker waits while too
/// many chunks wait to be passed on, which bounds the memory.
///
/// The project is not edited meanwhile. All plugins of the program may run on several threads.
class MixWorkers {
public:
    /// @param groups  their meter sessions have started; must outlive the object
    MixWorkers(const MixGroups& groups, const MixRange& range);
    /// Stops the workers that still run.
    ~MixWorkers();
    MixWorkers(const MixWorkers&) = delete;
    MixWorkers& operator=(const MixWorkers&) = delete;

    /// Mixes the range into the sinks of the groups, and adds the meter blocks to their mixers.
    /// @throws as RenderFrames; of several failures the earliest on the timeline
    void Run(Progress& progress);

private:
    class Worker;

    /// Consecutive blocks of the range.
    struct Chunk {
        long long index = 0;
        long long firstBlock = 0;
        long long endBlock = 0;
        std::vector<long long> noiseStart;  ///< place in the noise stream of each group
        std::vector<long long> noiseEnd;
        /// Of each signal of each group, in order.
        std::vector<std::vector<unsigned char>> samples;
    };

    void StartThreads();
    void Work(Worker& worker);
    bool Claim(Chunk& chunk);
    void AddNoise(long long firstBlock, long long endBlock);
    void Deliver(Chunk chunk);
    void Fail(long long chunk, std::exception_ptr failure);
    Chunk Await(long long chunk);
    void PassOn(const Chunk& chunk) const;
    void Reuse(Chunk chunk);

    const MixGroups& groups_;
    const MixRange range_;
    const MixBlocks blocks_;
    const long long chunkBlocks_;  ///< blocks in a chunk; the last chunk may have fewer
    const long long chunkCount_;
    std::vector<std::unique_ptr<Worker>> workers_;
    std::atomic<bool>* const interrupted_;  ///< flag of the job

    std::mutex mutex_;  ///< guards the members below
    std::condition_variable changed_;
    std::vector<long long> noise_;       ///< of each group, up to the next chunk
    long long next_ = 0;                 ///< the next chunk to render
    long long awaited_ = 0;              ///< the next chunk to pass on
    long long end_;                      ///< no chunk from here on is rendered
    std::map<long long, Chunk> done_;    ///< rendered, not yet passed on
    std::vector<Chunk> spare_;           ///< passed on; the next chunks use their memory
    std::exception_ptr failure_;         ///< of chunk end_
    std::vector<std::jthread> threads_;  ///< last: they use the members above
};

}  // namespace orlo::host
