// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/mixer/AudioMetrics.h"

namespace orlo::sonrel {

class AudioMeter;
struct AudioMeterImpl;

namespace detail {

/// What only the mixer may do with a meter.
struct AudioMeterAccess {
    /// The finished blocks from @p first to @p last as one: summed sample counts, greatest peaks,
    /// any clipping. A block that the meter does not have adds nothing.
    static AudioTrackMetrics MergedBlocks(const AudioMeter& meter, unsigned long long first,
                                          unsigned long long last);

    /// The block length of the session that runs; 0 without a session.
    static int RunningBlockFrames(const AudioMeter& meter);

    /// The meter's record, for code that measures while it does something else with the values.
    static AudioMeterImpl& Record(AudioMeter& meter);
};

}  // namespace detail
}  // namespace orlo::sonrel
