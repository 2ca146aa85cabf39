// SPDX-License-Identifier: MIT
#pragma once

#include "host/Options.h"
#include "host/Outcome.h"

/// The commands of the program. Each does its work and returns what there is to say, or throws a
/// CommandError. None prints anything but progress.
namespace orlo::host {

Outcome RunAlign(const GlobalOptions& global, const AlignOptions& options);
Outcome RunInfo(const GlobalOptions& global, const InfoOptions& options);
Outcome RunConform(const GlobalOptions& global, const ConformOptions& options);
Outcome RunMix(const GlobalOptions& global, const MixOptions& options);
Outcome RunPeaks(const GlobalOptions& global, const PeaksOptions& options);
Outcome RunPlay(const GlobalOptions& global, const PlayOptions& options);
Outcome RunWaveform(const GlobalOptions& global, const WaveformOptions& options);
Outcome RunCache(const GlobalOptions& global, const CacheOptions& options);

}  // namespace orlo::host
