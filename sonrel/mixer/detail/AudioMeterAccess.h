// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/mixer/AudioMetrics.h"

namespace orlo::sonrel {

class AudioMeter;
struct AudioMeterImpl;

namespace detail {

/// The operations on a meter that only the mixer may use.
struct AudioMeterAccess {
    /// The finished blocks from @p first to @p last as one block: summed sample counts, greatest
    /// peaks, any clipping. A block that the meter does not have adds nothing.
    static AudioTrackMetrics MergedBlocks(const AudioMeter& meter, unsigned long long first,
                                          unsigned long long last);

    /// Adds the finished blocks of another meter, as AudioMixer::AddMeterBlocks.
    static void AddBlocks(AudioMeter& meter, const AudioMeter& other);

    /// The block length of the running session; 0 without a session.
    static int RunningBlockFrames(const AudioMeter& meter);

    /// The meter's record, for code that measures values while it processes them.
    static AudioMeterImpl& Record(AudioMeter& meter);
};

}  // namespace detail
}  // namespace orlo::sonrel
