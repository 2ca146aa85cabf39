// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/project.h"

namespace orlo::sonrel {
struct AudioMixerImpl;
}

namespace orlo::sonrel::detail {

/// Whether a composition may feed the master meter. One that is read as a source of another mix
/// does not.
enum class Metering { Off, Allowed };

/// Mixes one block of a composition: its layers, the master meter, the conversion.
///
/// Layers are picked by the block's one video frame alone, as objects are.
/// @param frameRate  of the request: an effect may change that of the settings meanwhile
/// @return @p count, or -3 when it is above one video frame's worth
int MixCompositionBlock(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                        const std::shared_ptr<project::CompositionAsset>& composition,
                        long long start, int count, short* output, int rate, double frameRate,
                        Metering metering);

/// Mixes a request of any length up to 60 seconds, in blocks of one video frame's worth.
/// Arguments and results are those of the mixer's public form.
int GetCompositionSamples(AudioMixerImpl& mixer, const std::shared_ptr<project::Project>& project,
                          const std::shared_ptr<project::CompositionAsset>& composition,
                          long long start, int count, unsigned char* buffer, int rateOverride,
                          int sampleRate, Metering metering);

}  // namespace orlo::sonrel::detail
