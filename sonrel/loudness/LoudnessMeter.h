// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <optional>

#include "sonrel/base/Export.h"

namespace orlo::sonrel {

struct LoudnessMeterImpl;

/// Measures the loudness and the true peak of a stereo signal after ITU-R BS.1770-4, EBU Tech 3341
/// and EBU Tech 3342.
///
/// Momentary loudness is that of the last 0.4 seconds, short-term loudness that of the last 3
/// seconds; both advance in steps of 10 milliseconds. Integrated loudness is the mean of all blocks
/// of 0.4 seconds, one every 0.1 seconds, that pass the gates of -70 LUFS and of 10 LU below their
/// mean. The loudness range is the distance between the 10th and the 95th percentile of the
/// short-term loudness, taken every 0.1 seconds, with gates of -70 LUFS and of 20 LU below the
/// mean. The true peak is the largest magnitude of the signal at four times its rate below 96000
/// hertz, at twice its rate below 192000 hertz, and of the samples themselves above.
///
/// A result counts whole steps of 10 milliseconds; only the true peak counts every sample. The
/// results depend on the signal alone, not on the pieces in which it is added, and have the same
/// bits on every instruction set.
///
/// A signal that is computed in parts is measured as in one pass when its parts are added to one
/// meter in order, in pieces of any size: the filters have a memory, so that results of parts
/// cannot be joined.
///
/// Memory: 160 bytes for each second of sound that is above the gate of -70 LUFS, 0.6 megabytes an
/// hour.
///
/// Threads: one at a time; different meters are independent.
class SONREL_EXPORT LoudnessMeter {
public:
    static constexpr int MIN_RATE = 8000;    ///< hertz
    static constexpr int MAX_RATE = 192000;  ///< hertz

    /// @param sampleRate  hertz, MIN_RATE to MAX_RATE; at any other rate the meter measures nothing
    ///                    and every result is empty
    explicit LoudnessMeter(int sampleRate);
    ~LoudnessMeter();
    LoudnessMeter(LoudnessMeter&&) noexcept;             ///< takes over the measurement
    LoudnessMeter& operator=(LoudnessMeter&&) noexcept;  ///< takes over the measurement
    LoudnessMeter(const LoudnessMeter&) = delete;
    LoudnessMeter& operator=(const LoudnessMeter&) = delete;

    /// Adds stereo frames. A mono signal is measured as one loudspeaker when its right values are
    /// 0, and 3 LU louder when they equal the left values.
    /// @param frames  2 * count values, left first
    /// @param count   stereo frames
    /// @throws std::bad_alloc when the memory for the blocks is exhausted
    void Add(const short* frames, std::size_t count);

    /// Begins a new measurement at the same rate.
    void Reset();

    /// Loudness of the last 0.4 seconds in LUFS. Empty before the first 0.4 seconds have been
    /// added, and for digital silence.
    std::optional<double> MomentaryLufs() const;
    /// Loudness of the last 3 seconds in LUFS. Empty before the first 3 seconds have been added,
    /// and for digital silence.
    std::optional<double> ShortTermLufs() const;
    /// The largest momentary loudness so far; empty while none has been measured.
    std::optional<double> MaxMomentaryLufs() const;
    /// The largest short-term loudness so far; empty while none has been measured.
    std::optional<double> MaxShortTermLufs() const;
    /// Integrated loudness in LUFS. Empty when no block of 0.4 seconds is above -70 LUFS.
    std::optional<double> IntegratedLufs() const;
    /// Loudness range in LU. Empty when no 3 seconds are above -70 LUFS.
    std::optional<double> RangeLu() const;
    /// True peak in dBTP; empty for digital silence.
    std::optional<double> TruePeakDb() const;

private:
    std::unique_ptr<LoudnessMeterImpl> impl_;
};

}  // namespace orlo::sonrel
