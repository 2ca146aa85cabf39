// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "sonrel/base/FrameRange.h"

namespace orlo::project {
class MediaAudioStream;
}

namespace orlo::sonrel {

/// The levels of a recording, read from its peak file: a hundred values a second, by which loud
/// stretches are found without reading the sound.
class LevelProfile {
public:
    static constexpr int BINS_PER_SECOND = 100;

    LevelProfile() = default;
    /// @param stream  with the path of its peak file
    /// @param rate    hertz, in which positions are given
    /// @return nullopt when the peak file cannot be read
    static std::optional<LevelProfile> Read(const project::MediaAudioStream& stream, int rate);

    /// RMS of a range of sample frames, full scale 1.0. Frames outside the recording are silent.
    double Rms(long long begin, long long end) const;
    /// The largest sample of a stretch, full scale 1.0.
    double Peak(long long begin, long long end) const;

    /// RMS of each bin, full scale 1.0.
    std::vector<float> Bins() const;

private:
    void AddBins(const std::vector<unsigned char>& amplitudes,
                 const std::vector<signed char>& peaks, int channels);
    long long BinAt(long long frame) const;

    int rate_ = 1;
    std::vector<double> energy_;        ///< of the bins before each bin, and of all bins
    std::vector<unsigned char> peaks_;  ///< 0 to 128
};

/// Seconds from all of a recording: the first, the last and the loudest second of each part, the
/// loudest first.
/// @param frames  of the recording, at the rate of the profile
std::vector<zrtl::FrameRange> SpreadSeconds(const LevelProfile& profile, long long frames, int rate,
                                            int parts);

/// The offset at which the levels of two recordings rise at the same moments. Right to about a
/// hundredth of a second; finds a long match even where each second of it also matches elsewhere.
/// @return frame t of @p b is frame t + offset of @p a
long long OffsetByLevels(const LevelProfile& a, const LevelProfile& b, int rate);

}  // namespace orlo::sonrel
