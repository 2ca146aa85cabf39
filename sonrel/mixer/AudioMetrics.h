// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

namespace orlo::sonrel {

/// The measurements of one signal in one meter block.
struct AudioTrackMetrics {
    int sampleCount = 0;               ///< sample frames that went into the block
    float peak[2] = {0.0f, 0.0f};      ///< largest absolute value, left and right; full scale 1.0
                                       ///< and not limited to it; 0.0 for silence
    bool clipped[2] = {false, false};  ///< a value was below -1.0, or 1.0 or above: -1.0 itself is
                                       ///< not a clip and +1.0 is, as in the range of 16 bits
};

/// One meter block of the whole mix.
struct AudioMetrics {
    std::vector<AudioTrackMetrics> trackMetrics;  ///< one for each track meter, in track order
    AudioTrackMetrics masterMetrics;              ///< after the master level, before dither
};

}  // namespace orlo::sonrel
