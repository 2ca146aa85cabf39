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

/// Tells how far two recordings of one event are apart.
///
/// Everything is compared at the conformed rate, without downmix: the left channel of one recording
/// with the left of the other, right with right, and the better of the two decides. Lags are in
/// sample frames. Every correlation is normalised: about 1.0 for equal signals, 0.0 when there is
/// nothing to compare.
///
/// An answer is a pair. Look at the correlation first: where it is 0.0 the offset says nothing, and
/// need not be 0.
///
/// Threads: the class has no state. A call blocks until it is done and uses all processors
/// meanwhile. Calls on assets go through the engine's mixer, of which one thread at a time may ask;
/// CrossCorrelate and CorrelationEnergy of plain signals run on any number of threads.
class SONREL_EXPORT AudioSync {
public:
    struct CorrelationResult {
        double correlation = 0.0;  ///< the normalised peak, without sign
        long long offset = 0;      ///< lag in sample frames
    };

    AudioSync() = delete;

    /// Correlates two signals as wholes. Values lie @p strideA and @p strideB floats apart, so that
    /// one channel of an interleaved signal is taken with a stride of 2. Lags of up to count - 1
    /// either way are found.
    /// @param count  values of each signal, at most 8388608; below 1 the answer is 0.0 and 0
    /// @return offset k: a[n + k] matches b[n], so the event comes k values later in @p a. Signals
    ///         of zeros, and those that hold a NaN, give 0.0 and 0
    static CorrelationResult CrossCorrelate(float const* a, int strideA, float const* b,
                                            int strideB, int count);

    /// Adds up the squares of the correlations of two signals at all lags, each divided by both
    /// norms as in CrossCorrelate. Divided by @p count, the sum is the variance that the
    /// correlation of two unrelated steady signals with these spectra has: large for tones, small
    /// for noise.
    /// @param count  values of each signal, at most 8388608; below 1 the result is 0.0
    /// @return 0.0 for signals of zeros and for those that contain a NaN or an infinity
    static double CorrelationEnergy(float const* a, int strideA, float const* b, int strideB,
                                    int count);

    /// Searches for the lag of two whole recordings.
    ///
    /// Two recordings of up to five seconds that differ by less than a second are compared as
    /// CompareRanges does, and the offset is exact. In any other case the loudest second of the
    /// shorter one by its RMS, and the loudest by its peaks that lies elsewhere, are searched for
    /// along the longer one, in blocks of two seconds. Such an answer lies two sample frames away
    /// from the exact one: +2 where @p a is not longer than @p b, and -2 where it is.
    /// CompareRanges on a stretch that both hold measures it exactly.
    ///
    /// What is not found: an event that lies only in the last part of the longer recording if that
    /// is shorter than a second, and one for which neither loud second stands in the overlap.
    ///
    /// The answer is 0.0 and 0 when one of the assets has no conformed samples, when the shorter
    /// one is over a second long and has no readable peak file, when the longer one gives no full
    /// second, and when the search was cancelled before the last block.
    /// @param engine      gives the mixer that is asked for samples
    /// @param a           an asset with an audio stream and, above one second, a peak file
    /// @param b           another, or the same
    /// @param sampleRate  hertz; decides what counts as short
    /// @param progress    called on this thread with (done, total), first with (0, total); may be
    ///                    empty. It is not called for short recordings. It is destroyed before the
    ///                    call returns
    /// @param cancel      looked at between pieces of work of at most one block; may be null. Once
    ///                    the candidates are being refined, the best one so far is the answer
    /// @return offset k: what @p b has at frame t, @p a has at t + k
    static CorrelationResult FindOffset(std::shared_ptr<Sonrel> const& engine,
                                        std::shared_ptr<project::MediaAsset> const& a,
                                        std::shared_ptr<project::MediaAsset> const& b,
                                        int sampleRate, std::function<void(int, int)> progress,
                                        std::atomic<bool>* cancel);

    /// Compares a stretch of one recording with an equally long stretch of another, and measures
    /// once more with the lag taken out, so that the correlation is that of the overlap.
    /// @param count   sample frames, at most 8388608
    /// @param startA  first frame in @p a
    /// @param startB  first frame in @p b
    /// @return offset k, exact: what @p b has at startB + t, @p a has at startA + t + k. 0.0 and 0
    ///         when a start is negative, @p count is below 1 or one of them does not have the whole
    ///         stretch
    static CorrelationResult CompareRanges(std::shared_ptr<Sonrel> const& engine,
                                           std::shared_ptr<project::MediaAsset> const& a,
                                           std::shared_ptr<project::MediaAsset> const& b, int count,
                                           long long startA, long long startB);
};

}  // namespace orlo::sonrel
