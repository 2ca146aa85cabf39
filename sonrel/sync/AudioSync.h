// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "sonrel/base/Export.h"

namespace orlo::project {
class MediaAsset;
}  // namespace orlo::project

namespace orlo::sonrel {

class Sonrel;

/// Finds the offset between two recordings of one event.
///
/// Everything is compared at the conformed rate, without downmix: the left channel of one recording
/// with the left of the other, right with right, and the better channel decides. Lags are in sample
/// frames. Every correlation is normalised: about 1.0 for equal signals, 0.0 when there is nothing
/// to compare.
///
/// Check the correlation first: where it is 0.0 the offset has no meaning and may have any value.
///
/// Threads: the class has no state. A call blocks until it has finished and uses all processors
/// meanwhile. Calls on assets read through the engine's mixer, which one thread at a time may use;
/// CrossCorrelate and CorrelationEnergy of plain signals run on any number of threads.
class SONREL_EXPORT AudioSync {
public:
    struct CorrelationResult {
        double correlation = 0.0;  ///< the normalised peak, without sign
        long long offset = 0;      ///< lag in sample frames
    };                             ///< the result of a search

    AudioSync() = delete;

    /// Correlates two whole signals. Neighbouring values are @p strideA and @p strideB floats
    /// apart: a stride of 2 selects one channel of an interleaved signal. All lags from
    /// -(count - 1) to count - 1 are searched.
    /// @param count  values of each signal, at most 8388608; below 1 the result is 0.0 and 0
    /// @return offset k: a[n + k] matches b[n], so the event comes k values later in @p a. The
    ///         result is 0.0 and 0 for signals of zeros and for signals that contain a NaN
    static CorrelationResult CrossCorrelate(float const* a, int strideA, float const* b,
                                            int strideB, int count);

    /// Adds up the squares of the correlations of two signals at all lags, each divided by both
    /// norms as in CrossCorrelate. Divided by @p count, the sum is the variance that the
    /// correlation of two unrelated steady signals with these spectra has: large for tones, small
    /// for noise.
    /// @param count  values of each signal, at most 8388608; below 1 the result is 0.0
    /// @return 0.0 for signals of zeros and for signals that contain a NaN or an infinity
    static double CorrelationEnergy(float const* a, int strideA, float const* b, int strideB,
                                    int count);

    /// Searches for the lag of two whole recordings.
    ///
    /// Two recordings of up to five seconds whose lengths differ by less than a second are compared
    /// by CompareRanges, and the offset is exact. All other recordings are searched: two seconds of
    /// the shorter recording, the loudest by RMS and the loudest by peak that does not overlap it,
    /// are searched for along the longer recording, in blocks of two seconds. Such an offset
    /// differs from the exact offset by two sample frames: +2 where @p a is not longer than @p b,
    /// -2 where it is. CompareRanges on a stretch of the overlap measures it exactly.
    ///
    /// Two kinds of events are not found: an event in the last part of the longer recording where
    /// that part is shorter than a second, and an event of an overlap that contains neither of the
    /// two loud seconds.
    ///
    /// The result is 0.0 and 0 when one of the assets has no conformed samples, when the shorter
    /// recording is over a second long and has no readable peak file, when the longer recording
    /// delivers no full second, and when the search was cancelled before the last block.
    /// @param engine      samples are read through its mixer
    /// @param a           an asset with an audio stream and, above one second, a peak file
    /// @param b           another asset, or the same
    /// @param sampleRate  hertz; sets the length of a second in the rules above
    /// @param progress    called on this thread with (done, total), first with (0, total); may be
    ///                    empty. It is not called for short recordings. It is destroyed before the
    ///                    call returns
    /// @param cancel      read between pieces of work of at most one block; may be null. While the
    ///                    candidates are being refined, the best candidate so far is the result
    /// @return offset k: frame t of @p b matches frame t + k of @p a
    static CorrelationResult FindOffset(std::shared_ptr<Sonrel> const& engine,
                                        std::shared_ptr<project::MediaAsset> const& a,
                                        std::shared_ptr<project::MediaAsset> const& b,
                                        int sampleRate, std::function<void(int, int)> progress,
                                        std::atomic<bool>* cancel);

    /// Compares a stretch of one recording with an equally long stretch of another. It measures
    /// again with the lag removed, so that the correlation is that of the overlap.
    /// @param count   sample frames, at most 8388608
    /// @param startA  first frame in @p a
    /// @param startB  first frame in @p b
    /// @return offset k, exact: frame startB + t of @p b matches frame startA + t + k of @p a. 0.0
    ///         and 0 when a start is negative, when @p count is below 1 or when a recording does
    ///         not contain the whole stretch
    static CorrelationResult CompareRanges(std::shared_ptr<Sonrel> const& engine,
                                           std::shared_ptr<project::MediaAsset> const& a,
                                           std::shared_ptr<project::MediaAsset> const& b, int count,
                                           long long startA, long long startB);
};

}  // namespace orlo::sonrel
