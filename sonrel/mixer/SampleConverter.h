// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"

namespace orlo::sonrel {

struct SampleConverterImpl;

namespace detail {
struct SampleConverterAccess;
}

/// The noise that is added before samples are cut to 16 bits. Both channels of a sample frame get
/// the same noise. Any other value results in digital zero and draws nothing.
enum class DitherType : int {
    None = 0,                ///< none
    Triangular = 1,          ///< the sum of two fresh uniform values: two draws a sample frame
    HighPassTriangular = 2,  ///< a fresh uniform value minus the value before: one draw
};

/// Turns interleaved stereo floats (full scale 1.0) into interleaved signed 16-bit samples.
///
/// The noise is one continuous stream of the Mersenne Twister MT19937 (Matsumoto and Nishimura,
/// 1998): for a given seed, a mix delivered in many small calls has the same samples as one
/// delivered in a single large call.
///
/// Threads: one caller at a time; the class has no lock.
class SONREL_EXPORT SampleConverter {
public:
    /// Starts a noise stream.
    /// @param type  the noise to add
    /// @param seed  start of the stream; 0 takes one from the clock, so that runs differ
    SampleConverter(DitherType type, unsigned int seed);
    ~SampleConverter();

    SampleConverter(const SampleConverter&) = delete;
    SampleConverter& operator=(const SampleConverter&) = delete;

    /// Starts the noise stream afresh, exactly as a new converter would.
    void Reset(DitherType type, unsigned int seed);

    /// Converts @p frameCount stereo frames. Allocates nothing and cannot fail.
    ///
    /// A value is clipped when its rounded form leaves the 16-bit range and otherwise cut toward
    /// zero, so that dithered silence is digital zero. A NaN and any value of magnitude 65536.0 or
    /// more, in either direction, result in -32768.
    /// @param input       2 * frameCount floats, left first
    /// @param output      room for 2 * frameCount samples, left first
    /// @param frameCount  stereo frames; below 1 writes nothing and draws no noise
    void FloatToInt16(const float* input, short* output, int frameCount);

    /// Advances the noise stream as the conversion of @p frameCount stereo frames does, in a
    /// fraction of its time. Below 1 nothing happens.
    void Skip(long long frameCount);

    /// Continues at the place of another converter in its noise stream, with its dither type. The
    /// other converter is unchanged.
    void Continue(const SampleConverter& other);

private:
    friend struct detail::SampleConverterAccess;
    std::unique_ptr<SampleConverterImpl> impl_;
};

}  // namespace orlo::sonrel
