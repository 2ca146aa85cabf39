// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "sonrel/project/MediaAsset.h"

namespace orlo::host {

/// How loud a recording is from moment to moment, read from its peak file: a hundred values a
/// second, by which loud places are found without reading the sound.
class LevelProfile {
public:
    static constexpr int BINS_PER_SECOND = 100;

    LevelProfile() = default;
    /// @param asset  with the path of its peak file
    /// @param rate   hertz, in which positions are given
    /// @throws JobError when the peak file cannot be read
    LevelProfile(const project::MediaAsset& asset, int rate);

    /// RMS over a stretch of sample frames, full scale 1.0. What lies outside is silent.
    double Rms(long long begin, long long end) const;
    /// The largest sample of a stretch, full scale 1.0.
    double Peak(long long begin, long long end) const;

    /// RMS of each bin, full scale 1.0.
    std::vector<float> Bins() const;

private:
    long long BinAt(long long frame) const;

    int rate_ = 1;
    std::vector<double> energy_;        ///< of the bins before each bin, and of all
    std::vector<unsigned char> peaks_;  ///< 0 to 128
};

/// A stretch of a recording in sample frames.
struct FrameRange {
    long long start = 0;
    long long length = 0;
};

/// The second with the largest RMS, and the one with the largest peak that does not overlap it:
/// what the search of whole recordings looks for.
std::vector<FrameRange> LoudestSeconds(const LevelProfile& profile, long long frames, int rate);

/// Seconds spread over a recording: the first, the last and the loudest one of each of its parts,
/// the loudest first.
std::vector<FrameRange> SpreadSeconds(const LevelProfile& profile, long long frames, int rate,
                                      int parts);

}  // namespace orlo::host
