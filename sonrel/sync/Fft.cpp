// SPDX-License-Identifier: MIT
#include "sonrel/sync/detail/Fft.h"

#include <algorithm>
#include <cstddef>
#include <future>
#include <utility>

#include "sonrel/sync/detail/FftKernels.h"
#include "sonrel/sync/detail/FftTables.h"
#include "sonrel/sync/detail/Parallel.h"

// Design of the transform.
//
// The plain radix-2 form, decimation in time, defines the result to the bit: bit reversal, then
// log2(n) levels of butterflies; level l completes transforms of 2^l points. The twiddle factors of
// a level follow a recurrence (TwiddleRecurrence), whose rounding error is part of the result. A
// faster form may therefore change the order in which butterflies run, but not a butterfly: no
// radix-4 butterfly, no fused multiply-add, no factor from a table of sines.
//
// The plain form reads and writes all points once for each level, 20 times for 2^20 points, and is
// limited by memory. Three steps reduce this without changing an operation:
// - Tiles (FftKernels). Bit reversal exchanges 8x8 tiles. While a tile is in registers it is
//   transposed, and its levels of 2, 4 and 8 points (BASE_LEVELS) run. From here to the last pass
//   the points are in groups of `width` real parts and `width` imaginary parts, one for each lane.
// - Passes. One pass over the data runs up to 3 levels with the legs in registers: 2 levels with 16
//   registers (SSE2, AVX2), 3 with 32 (AVX-512). PassTable has the factors in the order of use.
// - Recursion. RunLevels divides the data until a part, with its factors, fits into the first-level
//   cache (CACHED_LEVEL). It transforms one part after the other and then combines them.
//
// The recursion also forks: every call of Apply divides the threads between its two halves
// (SplitThreads). Halves are independent, so the result does not depend on the number of threads.
// Below FORK_LEVEL a task is deferred, because it takes less time than the start of a thread.
// Transforms below one tile (64 points) run the plain form itself (TransformFew).
namespace orlo::sonrel::detail {
namespace {

// A transform of at most this many points, with its factors, fits into the first-level cache.
constexpr int CACHED_LEVEL = 10;
// Below this level a task takes less time than the start of a thread: it is deferred.
constexpr int FORK_LEVEL = 16;
constexpr unsigned int MIN_CHUNK = 16;

std::launch LaunchAt(int level) {
    return level < FORK_LEVEL ? std::launch::deferred : std::launch::async | std::launch::deferred;
}

int LevelOf(unsigned int points) {
    int level = 0;
    while ((2U << level) <= points) ++level;
    return level;
}

// ---- Less than a tile --------------------------------------------------------------------------

void ReverseFew(double* data, unsigned int points, int level) {
    for (unsigned int i = 0; i < points; ++i) {
        unsigned int j = 0;
        for (int bit = 0; bit < level; ++bit) j |= (i >> bit & 1U) << (level - 1 - bit);
        if (j <= i) continue;
        std::swap(data[2 * i], data[2 * j]);
        std::swap(data[2 * i + 1], data[2 * j + 1]);
    }
}

void CombineFew(double* data, unsigned int size) {
    const std::size_t half = size / 2;
    TwiddleRecurrence factor(size);
    for (std::size_t k = 0; k < half; ++k) {
        double* a = data + 2 * k;
        double* b = a + 2 * half;
        double tr = b[0];
        double ti = b[1];
        if (size > 2) {
            tr = b[0] * factor.Re() - b[1] * factor.Im();
            ti = b[0] * factor.Im() + b[1] * factor.Re();
        }
        b[0] = a[0] - tr;
        b[1] = a[1] - ti;
        a[0] = a[0] + tr;
        a[1] = a[1] + ti;
        factor.Advance();
    }
}

void TransformFew(double* data, unsigned int points) {
    ReverseFew(data, points, LevelOf(points));
    for (unsigned int size = 2; size <= points; size *= 2) {
        for (unsigned int at = 0; at < points; at += size) CombineFew(data + 2 * at, size);
    }
}

// ---- One tile or more --------------------------------------------------------------------------

/// One transform: its data, kernels and thread budget.
class Transform {
public:
    Transform(double* data, unsigned int points, unsigned int threads)
        : kernels_(FFT_KERNELS.Active()),
          data_(data),
          points_(points),
          level_(LevelOf(points)),
          threads_(threads),
          twiddles_(Twiddles(kernels_.width, kernels_.passLevels, level_)) {}

    void Run() {
        ReverseAll();
        Apply(data_, level_, static_cast<int>(threads_));
    }

private:
    static std::size_t Points(int level) { return std::size_t{1} << level; }

    void ReverseAll() {
        ChunkPlan plan;
        plan.smallestChunk = MIN_CHUNK;
        plan.concurrency = threads_;
        plan.launch = LaunchAt(level_);
        RunInParallel(
            points_,
            [this](unsigned long long first, unsigned long long end) {
                kernels_.reverse(data_, points_, TilesBefore(first), TilesBefore(end));
            },
            plan);
    }

    /// A tile belongs to the chunk that contains its first point.
    static std::size_t TilesBefore(unsigned long long point) {
        return (point + TILE_POINTS - 1) / TILE_POINTS;
    }

    /// Forks while there is more than one thread, at any size. This thread then combines the levels
    /// of the forks, as many as one pass runs.
    void Apply(double* data, int level, int threads) {
        if (threads <= 1 || level <= BASE_LEVELS) {
            RunLevels(data, level);
            return;
        }
        const int levels = std::min(kernels_.passLevels, level - BASE_LEVELS);
        ApplyToParts(data, level, levels, threads);
        RunPass(data, level, levels, 1);
    }

    /// Runs the parts that are @p levels levels below @p level.
    void ApplyToParts(double* data, int level, int levels, int threads) {
        if (levels == 0) {
            Apply(data, level, threads);
            return;
        }
        const ThreadSplit split = SplitThreads(threads);
        double* half = data + Points(level);
        if (threads <= 1) {
            ApplyToParts(data, level - 1, levels - 1, split.first);
            ApplyToParts(half, level - 1, levels - 1, split.second);
            return;
        }
        std::future<void> second = std::async(LaunchAt(level), [this, half, level, levels, split] {
            ApplyToParts(half, level - 1, levels - 1, split.second);
        });
        ApplyToParts(data, level - 1, levels - 1, split.first);
        second.get();
    }

    /// Runs all levels above the base levels. The parts of a large transform run one after the
    /// other, so that each part is in a near cache meanwhile.
    void RunLevels(double* data, int level) {
        if (level <= CACHED_LEVEL) {
            RunCachedLevels(data, level);
            return;
        }
        const int part = level - kernels_.passLevels;
        for (std::size_t at = 0; at < Points(level); at += Points(part)) {
            RunLevels(data + 2 * at, part);
        }
        RunPass(data, level, kernels_.passLevels, 1);
    }

    void RunCachedLevels(double* data, int level) {
        int done = BASE_LEVELS;
        while (done < level) {
            const int remainder = (level - done) % kernels_.passLevels;
            const int levels = remainder == 0 ? kernels_.passLevels : remainder;
            done += levels;
            RunPass(data, done, levels, Points(level - done));
        }
    }

    /// Runs the @p levels levels up to @p level on @p blocks transforms.
    void RunPass(double* data, int level, int levels, std::size_t blocks) {
        const auto& passes = level == level_ ? kernels_.lastPass : kernels_.pass;
        const int firstLevel = level - levels + 1;
        passes[levels - 1](data, Points(firstLevel - 1), blocks, twiddles_->Pass(level));
    }

    const FftKernels& kernels_;
    double* data_;
    std::size_t points_;
    int level_;
    unsigned int threads_;
    std::shared_ptr<const TwiddleSet> twiddles_;
};

}  // namespace

std::shared_ptr<const void> HoldTwiddles(unsigned int n) {
    if (n < TILE_POINTS) return nullptr;
    const FftKernels& kernels = FFT_KERNELS.Active();
    return Twiddles(kernels.width, kernels.passLevels, LevelOf(n));
}

void FastFourierTransform(double* data, unsigned int n) {
    FastFourierTransform(data, n, HardwareConcurrency());
}

void FastFourierTransform(double* data, unsigned int n, unsigned int threads) {
    if (n < 2) return;
    if (n < TILE_POINTS) {
        TransformFew(data, n);
        return;
    }
    Transform(data, n, std::max(1U, threads)).Run();
}

}  // namespace orlo::sonrel::detail
