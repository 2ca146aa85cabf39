// SPDX-License-Identifier: MIT
#pragma once

#include <ebur128.h>

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

namespace orlo::host {

/// Ends a state of the loudness library.
struct LoudnessStateEnd {
    void operator()(ebur128_state* state) const;
};
using LoudnessState = std::unique_ptr<ebur128_state, LoudnessStateEnd>;

/// Finds the true peak of a long stereo signal: exactly the loudness library's own value, for a
/// fraction of its time.
///
/// The library interpolates every sample in double precision, which costs more than mixing sixteen
/// tracks. Here a fast screen with the same interpolation in single precision looks through the
/// signal first, and the library measures only the stretches that may hold a new maximum. The
/// screen is checked against the library before it is used; should the library interpolate in
/// another way, it measures everything.
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
    /// The block at hand behind the end of the one before, interleaved as it came, and a float
    /// channel each.
    std::vector<short> samples_;
    std::array<std::vector<float>, 2> signal_;
};

}  // namespace orlo::host
