// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "host/align/RecordingPair.h"
#include "sonrel/mixer/AudioMixer.h"

namespace orlo::host {

/// Reads stretches of a recording as floats.
class StereoReader {
public:
    StereoReader(const RecordingPair& pair, const Recording& recording)
        : mixer_(*pair.Engine()->Mixer()), recording_(recording) {}

    /// Interleaved, full scale 1.0, with zeros after the end of the recording.
    /// @param frames  of the result; the stretch may be shorter
    std::vector<float> Read(const FrameRange& place, std::size_t frames) const;

private:
    const sonrel::AudioMixer& mixer_;
    const Recording& recording_;
};

/// Whether left and right of interleaved values are the same signal, as those of a mono recording.
bool ChannelsAreEqual(const std::vector<float>& interleaved);

}  // namespace orlo::host
