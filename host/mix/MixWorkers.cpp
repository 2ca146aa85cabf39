// SPDX-License-Identifier: MIT
#include "host/mix/MixWorkers.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include "host/shell/Interrupt.h"
#include "sonrel/base/StereoFrame.h"

namespace orlo::host {

namespace {

/// Maximum length of a chunk, in bytes of all its signals.
constexpr long long MAX_CHUNK_BYTES = 8LL << 20;
/// Maximum length of a chunk, in frames: a worker reports its progress after each chunk, and reads
/// the first block of each chunk separately from the next ones.
constexpr long long MAX_CHUNK_FRAMES = 1LL << 18;
/// Chunks for each worker in a short range, so that all workers end at about the same time.
constexpr long long CHUNKS_PER_WORKER = 8;
/// Chunks for each worker that are being rendered or wait to be passed on.
constexpr long long WAITING_PER_WORKER = 2;

long long SignalCount(const MixGroups& groups) {
    long long signals = 0;
    for (const MixGroup& group : groups) signals += std::ssize(group.signals);
    return signals;
}

void StopOnInterrupt() {
    if (Interrupted()) ThrowInterrupted("nothing was written");
}

long long BlocksOfChunk(const MixGroups& groups, const MixRange& range, const MixBlocks& blocks) {
    const long long bytes = SignalCount(groups) * zrtl::FRAME_BYTES;
    const long long frames = std::min(MAX_CHUNK_FRAMES, MAX_CHUNK_BYTES / std::max(1LL, bytes));
    const long long count = blocks.PartEnd() - blocks.PartStart();
    const long long meanBlock = std::max(1LL, blocks.PartSpan().Count() / count);
    const long long share = count / (CHUNKS_PER_WORKER * range.jobs);
    return std::clamp(frames / meanBlock, 1LL, std::max(1LL, share));
}

}  // namespace

/// The mixers of one thread.
class MixWorkers::Worker {
public:
    Worker(const MixGroups& groups, const MixRange& range, const MixBlocks& blocks)
        : groups_(groups), grid_(range.grid), blocks_(blocks), position_(range.span.start) {
        for (const MixGroup& group : groups) {
            mixers_.push_back(group.mixer->CreateWorker());
            reads_.emplace_back(*mixers_.back(), grid_);
        }
        noise_.resize(groups.size());
    }

    void Render(Chunk& chunk) {
        SkipTo(chunk);
        const long long start = blocks_.Start(chunk.firstBlock);
        const long long frames = blocks_.Start(chunk.endBlock) - start;
        chunk.samples.resize(static_cast<std::size_t>(SignalCount(groups_)));
        for (std::vector<unsigned char>& samples : chunk.samples) {
            samples.resize(static_cast<std::size_t>(frames * zrtl::FRAME_BYTES));
        }
        for (long long i = chunk.firstBlock; i < chunk.endBlock; ++i) {
            StopOnInterrupt();
            RenderBlockOf(chunk, blocks_[i], blocks_.Start(i) - start);
        }
        noise_ = chunk.noiseEnd;
        position_ = start + frames;
    }

    /// Ends the meter sessions and adds their blocks to the mixers of the groups.
    void JoinMeters() {
        for (std::size_t g = 0; g < groups_.size(); ++g) {
            mixers_[g]->StopMeterSession();
            groups_[g].mixer->AddMeterBlocks(*mixers_[g]);
        }
    }

private:
    /// Passes over the chunks of other workers.
    void SkipTo(const Chunk& chunk) {
        const long long frames = blocks_.Start(chunk.firstBlock) - position_;
        for (std::size_t g = 0; g < mixers_.size(); ++g) {
            mixers_[g]->SkipSamples(chunk.noiseStart[g] - noise_[g], frames);
        }
    }

    /// @param offset  frames of the chunk before the block
    void RenderBlockOf(Chunk& chunk, const BlockRange& block, long long offset) {
        std::size_t signal = 0;
        for (std::size_t g = 0; g < groups_.size(); ++g) {
            for (const MixSignal& rendered : groups_[g].signals) {
                RenderBlock(*mixers_[g], rendered.source, grid_, block,
                            chunk.samples[signal].data() + offset * zrtl::FRAME_BYTES);
                ++signal;
            }
            reads_[g].RequireAll();
        }
    }

    const MixGroups& groups_;
    const FrameGrid grid_;
    const MixBlocks& blocks_;
    std::vector<std::shared_ptr<sonrel::AudioMixer>> mixers_;  ///< of each group
    std::vector<ReadCheck> reads_;
    std::vector<long long> noise_;  ///< place of each mixer in its noise stream
    long long position_;            ///< of the mixers on the timeline
};

MixWorkers::MixWorkers(const MixGroups& groups, const MixRange& range)
    : groups_(groups),
      range_(range),
      blocks_(range),
      chunkBlocks_(BlocksOfChunk(groups, range, blocks_)),
      chunkCount_((blocks_.PartEnd() - blocks_.PartStart() + chunkBlocks_ - 1) / chunkBlocks_),
      interrupted_(InterruptFlag()),
      noise_(groups.size()),
      end_(chunkCount_) {
    AddNoise(0, blocks_.PartStart());
    const long long count = std::min<long long>(range.jobs, chunkCount_);
    for (long long i = 0; i < count; ++i) {
        workers_.push_back(std::make_unique<Worker>(groups_, range_, blocks_));
    }
}

MixWorkers::~MixWorkers() {
    Fail(0, nullptr);
}

void MixWorkers::Run(Progress& progress) {
    StartThreads();
    for (long long chunk = 0; chunk < chunkCount_; ++chunk) {
        StopOnInterrupt();
        Chunk rendered = Await(chunk);
        PassOn(rendered);
        progress.Update(blocks_.Start(rendered.endBlock) - blocks_.PartSpan().start);
        Reuse(std::move(rendered));
    }
    threads_.clear();
    for (const MixGroup& group : groups_) group.mixer->StopMeterSession();
    for (const std::unique_ptr<Worker>& worker : workers_) worker->JoinMeters();
}

/// A system that refuses some of the threads makes the mix slower only.
void MixWorkers::StartThreads() {
    try {
        for (const std::unique_ptr<Worker>& worker : workers_) {
            threads_.emplace_back([this, &worker] { Work(*worker); });
        }
    } catch (const std::system_error&) {
        if (threads_.empty()) throw;
    }
}

void MixWorkers::Work(Worker& worker) {
    const InterruptFlagScope flag(interrupted_);
    Chunk chunk;
    try {
        while (Claim(chunk)) {
            worker.Render(chunk);
            Deliver(std::move(chunk));
        }
    } catch (...) {
        Fail(chunk.index, std::current_exception());
    }
}

/// Takes the next chunk when there is room for it. @return false when none is left
bool MixWorkers::Claim(Chunk& chunk) {
    std::unique_lock lock(mutex_);
    const long long waiting = WAITING_PER_WORKER * std::ssize(workers_);
    changed_.wait(lock, [&] { return next_ >= end_ || next_ < awaited_ + waiting; });
    if (next_ >= end_) return false;
    if (!spare_.empty()) {
        chunk = std::move(spare_.back());
        spare_.pop_back();
    }
    chunk.index = next_++;
    chunk.firstBlock = blocks_.PartStart() + chunk.index * chunkBlocks_;
    chunk.endBlock = std::min(chunk.firstBlock + chunkBlocks_, blocks_.PartEnd());
    chunk.noiseStart = noise_;
    AddNoise(chunk.firstBlock, chunk.endBlock);
    chunk.noiseEnd = noise_;
    return true;
}

/// Adds the noise of some blocks.
void MixWorkers::AddNoise(long long firstBlock, long long endBlock) {
    for (std::size_t g = 0; g < groups_.size(); ++g) {
        for (const MixSignal& signal : groups_[g].signals) {
            noise_[g] +=
                NoiseOfBlocks(*groups_[g].mixer, signal.source, blocks_, firstBlock, endBlock);
        }
    }
}

void MixWorkers::Deliver(Chunk chunk) {
    const std::lock_guard lock(mutex_);
    const long long index = chunk.index;
    done_.emplace(index, std::move(chunk));
    changed_.notify_all();
}

/// Chunks before a failed chunk are still rendered: the earliest failure is reported.
void MixWorkers::Fail(long long chunk, std::exception_ptr failure) {
    const std::lock_guard lock(mutex_);
    if (chunk < end_) {
        end_ = chunk;
        failure_ = std::move(failure);
    }
    changed_.notify_all();
}

MixWorkers::Chunk MixWorkers::Await(long long chunk) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return end_ <= chunk || done_.count(chunk) != 0; });
    if (end_ <= chunk) std::rethrow_exception(failure_);
    Chunk rendered = std::move(done_.extract(chunk).mapped());
    awaited_ = chunk + 1;
    changed_.notify_all();
    return rendered;
}

void MixWorkers::PassOn(const Chunk& chunk) const {
    const long long frames = blocks_.Start(chunk.endBlock) - blocks_.Start(chunk.firstBlock);
    std::size_t index = 0;
    for (const MixGroup& group : groups_) {
        for (const MixSignal& signal : group.signals) {
            signal.sink->Pass(chunk.samples[index++].data(), frames);
        }
    }
}

/// There are never more chunks than are rendered and wait at the same time.
void MixWorkers::Reuse(Chunk chunk) {
    const std::lock_guard lock(mutex_);
    spare_.push_back(std::move(chunk));
}

}  // namespace orlo::host
