// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/mixer/AudioMetrics.h"

namespace orlo::sonrel {

class AudioMeter;

namespace detail {

/// Reads of a meter that only the mixer makes.
struct AudioMeterAccess {
    /// A finished block, copied under the meter's lock: unlike the reference of
    /// AudioMeter::MetricsForBlock it is safe while another thread appends.
    /// @param index  below MeterBlockCount(); not checked
    static AudioTrackMetrics CopyBlock(const AudioMeter& meter, unsigned long long index);
};

}  // namespace detail
}  // namespace orlo::sonrel
