// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/mixer/AudioMetrics.h"

namespace orlo::sonrel {

class AudioMeter;
struct AudioMeterImpl;

namespace detail {

/// What only the mixer may do with a meter.
struct AudioMeterAccess {
    /// A finished block, copied under the meter's lock: unlike the reference of
    /// AudioMeter::MetricsForBlock it is safe while another thread appends.
    /// @param index  below MeterBlockCount(); not checked
    static AudioTrackMetrics CopyBlock(const AudioMeter& meter, unsigned long long index);

    /// The meter's record, for code that measures while it does something else with the values.
    static AudioMeterImpl& Record(AudioMeter& meter);
};

}  // namespace detail
}  // namespace orlo::sonrel
