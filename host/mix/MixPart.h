// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/mix/MixBlocks.h"
#include "host/mix/MixOptions.h"
#include "host/mix/PartFile.h"
#include "host/timeline/Input.h"
#include "sonrel/mixer/AudioMixer.h"

namespace orlo::host {

/// Refuses options that need the whole mix. @throws UsageError
void CheckPartOptions(const MixOptions& options);

/// Refuses more parts than the range has blocks. @throws UsageError
void RequireBlocks(const MixBlocks& blocks, const PartChoice& part);

/// The values of a mix that its options and rates decide.
Json ValuesOf(const MixOptions& options, const FrameGrid& grid, const zrtl::FrameRange& span);

/// A mix of a timeline before it is divided into parts.
struct WholeMix {
    const MixOptions& options;
    const std::string& document;  ///< file of the timeline's document
    const FrameGrid& grid;
    const zrtl::FrameRange& span;
    const std::vector<std::string>& trackNames;
    const std::vector<MediaUse>& media;  ///< conformed
};

/// Everything that decides the samples and the meters of a mix: the version of the program, the
/// timeline, the media files by name and length, the options. Paths are left out, so that machines
/// may have them in different folders.
/// @throws JobError when the timeline cannot be read
Json IdentityOf(const WholeMix& mix);

/// The manifest of a part that was mixed.
/// @param mixer  contains the meter blocks, from the start of the whole mix
PartManifest ManifestOf(const WholeMix& mix, const MixBlocks& blocks,
                        const sonrel::AudioMixer& mixer);

}  // namespace orlo::host
