// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "host/measure/Loudness.h"
#include "host/measure/MeterSummary.h"
#include "host/report/ReportPage.h"
#include "host/shell/Progress.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project/CompositionAsset.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/project/Project.h"

namespace orlo::host {

/// The levels of a mix or of a media file.
struct MasterLevels {
    LoudnessMeter loudness;
    MeterBlocks blocks;  ///< without meters of tracks

    /// @param firstSample  position of the first block on the timeline
    SignalSummary Summary(long long firstSample) const {
        return Summarize(blocks, {}, firstSample).master;
    }
};

/// The sequence or a composition of a project.
struct ProjectMix {
    const std::shared_ptr<project::Project>& project;
    const std::shared_ptr<project::CompositionAsset>& composition;  ///< null for the main sequence
};

/// Mixes a range once and measures it.
/// @param mixer  outlives the result
/// @throws JobError when a media file cannot be read; CommandError when the program is asked to
///         stop
MasterLevels MeasureMix(sonrel::AudioMixer& mixer, const ProjectMix& mix, const FrameGrid& grid,
                        const zrtl::FrameRange& span, Progress& progress);

/// Reads a range of a conformed media file and measures it. @throws as in MeasureMix
MasterLevels MeasureMedia(sonrel::AudioMixer& mixer,
                          const std::shared_ptr<project::MediaAsset>& asset, const FrameGrid& grid,
                          const zrtl::FrameRange& span, Progress& progress);

/// Adds the curves, the clip marks and the table of loudness to a page with a grid, a left edge and
/// a duration.
void ShowLevels(const MasterLevels& levels, ReportPage& page);

}  // namespace orlo::host
