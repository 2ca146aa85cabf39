// SPDX-License-Identifier: MIT
#pragma once

#include <ebur128.h>

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

namespace orlo::host {

/// Destroys a state of the loudness library.
struct LoudnessStateDeleter {
    void operator()(ebur128_state* state) const;
};
using LoudnessState = std::unique_ptr<ebur128_state, LoudnessStateDeleter>;

/// Finds the true peak of a long stereo signal: exactly the value of the loudness library, in a
/// fraction of its time.
///
/// The library interpolates every sample in double precision, which costs more than mixing sixteen
/// tracks. This class first screens the signal with the same interpolation in single precision, and
/// the library measures only the ranges that may contain a new maximum. The screen is verified
/// against the library before it is used; if the library interpolates differently, the library
/// measures everything.
class TruePeakSearch {
public:
    /// @param rate  hertz
    explicit TruePeakSearch(int rate);
    ~TruePeakSearch();

    /// @param frames  2 * count values, left first
    void Add(const short* frames, std::size_t count);

    /// The largest true peak so far; full scale is 1.0.
    double Peak() const { return peak_; }

    /// Frames that the library measured so far.
    long long MeasuredFrames() const { return measured_; }

private:
    struct Filter;

    void AddBlock(const short* frames, std::size_t count);
    bool MayRaisePeak(std::size_t count);
    bool TileRaisesPeak(const float* signal, std::size_t count) const;
    float Interpolate(const float* newest) const;
    bool AgreesWithLibrary();
    double Measure(const short* frames, std::size_t count);

    LoudnessState library_;
    std::unique_ptr<Filter> filter_;  ///< empty: the library measures everything
    double peak_ = 0.0;
    long long measured_ = 0;
    /// The end of the previous block followed by the current block: the interleaved input, and one
    /// float signal per channel.
    std::vector<short> samples_;
    std::array<std::vector<float>, 2> signal_;
};

}  // namespace orlo::host
