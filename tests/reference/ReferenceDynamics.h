// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

namespace orlo::sonrel::reference {

/// The gain of an effect that follows the level of the sound, one step after the other over all
/// cells of a sound, in double precision. The sound begins at position 0; before and after it is
/// silence.
class ReferenceDynamics {
public:
    struct Windows {
        int attack, hold, release;  ///< in cells
        bool looksAhead;
    };

    /// @param cell    frames of a cell
    /// @param amount  of a cell with a first frame and an end
    ReferenceDynamics(int cell, Windows windows, std::function<double(int, int)> amount)
        : cell_(cell), windows_(windows), amount_(std::move(amount)) {}

    /// The amount at a frame, linear between the gains of the starts of its cell and the next.
    double GainAt(int frame, const std::function<double(double)>& gainOf) {
        const int k = frame / cell_;
        const double from = gainOf(Point(k));
        const double to = gainOf(Point(k + 1));
        return from + (to - from) * (frame - k * cell_) / cell_;
    }

private:
    double Amount(int k) { return k < 0 ? 0.0 : amount_(k * cell_, (k + 1) * cell_); }

    double Held(int k) {
        if (k < 0) return 0.0;
        const auto at = static_cast<std::size_t>(k);
        if (at >= held_.size()) held_.resize(at + 1, -1.0);
        if (held_[at] >= 0.0) return held_[at];
        double most = 0.0;
        for (int age = 0; age < windows_.hold + windows_.release; ++age) {
            const double fall = std::max(0, age - windows_.hold) / double(windows_.release);
            most = std::max(most, Amount(k - age) * (1.0 - fall));
        }
        return held_[at] = most;
    }

    double Ahead(int k) {
        double most = Held(k);
        for (int i = 1; windows_.looksAhead && i <= windows_.attack; ++i) {
            most = std::max(most, Held(k + i));
        }
        return most;
    }

    double Point(int k) {
        double sum = 0.0;
        for (int i = 1; i <= windows_.attack; ++i) sum += Ahead(k - i);
        return sum / windows_.attack;
    }

    int cell_;
    Windows windows_;
    std::function<double(int, int)> amount_;
    std::vector<double> held_;  ///< below 0 where it is not computed yet
};

/// A value of an interleaved stereo sound; 0 outside of it.
inline double SoundValue(const std::vector<short>& sound, int frame, int channel) {
    const int at = 2 * frame + channel;
    return frame < 0 || at >= int(sound.size()) ? 0.0 : sound[std::size_t(at)];
}

/// Decibels below full scale of the largest sample from a first frame to an end.
inline double SampleLevel(const std::vector<short>& sound, int first, int end) {
    double peak = 0.0;
    for (int n = first; n < end; ++n) {
        peak =
            std::max({peak, std::abs(SoundValue(sound, n, 0)), std::abs(SoundValue(sound, n, 1))});
    }
    return peak == 0.0 ? -std::numeric_limits<double>::infinity()
                       : 20.0 * std::log10(peak / 32768.0);
}

/// The four values that the interpolator of Recommendation ITU-R BS.1770, Annex 2 has for an input
/// frame, in the direction of time. The table is from the Recommendation, phase by phase.
inline double Interpolated(const std::vector<short>& sound, int frame, int channel, int phase) {
    static constexpr double TABLE[4][12] = {
        {0.0017089843750, 0.0109863281250, -0.0196533203125, 0.0332031250000, -0.0594482421875,
         0.1373291015625, 0.9721679687500, -0.1022949218750, 0.0476074218750, -0.0266113281250,
         0.0148925781250, -0.0083007812500},
        {-0.0291748046875, 0.0292968750000, -0.0517578125000, 0.0891113281250, -0.1665039062500,
         0.4650878906250, 0.7797851562500, -0.2003173828125, 0.1015625000000, -0.0582275390625,
         0.0330810546875, -0.0189208984375},
        {-0.0189208984375, 0.0330810546875, -0.0582275390625, 0.1015625000000, -0.2003173828125,
         0.7797851562500, 0.4650878906250, -0.1665039062500, 0.0891113281250, -0.0517578125000,
         0.0292968750000, -0.0291748046875},
        {-0.0083007812500, 0.0148925781250, -0.0266113281250, 0.0476074218750, -0.1022949218750,
         0.9721679687500, 0.1373291015625, -0.0594482421875, 0.0332031250000, -0.0196533203125,
         0.0109863281250, 0.0017089843750},
    };
    double sum = 0.0;
    for (int i = 0; i < 12; ++i) sum += TABLE[phase][i] * SoundValue(sound, frame - i, channel);
    return sum;
}

/// The true peak of the frames from a first frame to an end, as a sample value: of the samples, and
/// of the intervals that begin or end at one of them. The values between the frames n and n + 1 are
/// the values of the input frame n + 6.
inline double TruePeakValue(const std::vector<short>& sound, int first, int end) {
    double peak = 0.0;
    for (int channel = 0; channel < 2; ++channel) {
        for (int n = first; n < end; ++n)
            peak = std::max(peak, std::abs(SoundValue(sound, n, channel)));
        for (int n = first - 1; n < end; ++n) {
            for (int phase = 0; phase < 4; ++phase) {
                peak = std::max(peak, std::abs(Interpolated(sound, n + 6, channel, phase)));
            }
        }
    }
    return peak;
}

}  // namespace orlo::sonrel::reference
