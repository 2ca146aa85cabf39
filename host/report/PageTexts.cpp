// SPDX-License-Identifier: MIT
#include "host/report/PageTexts.h"

#include <algorithm>

#include "host/shell/SoundText.h"
#include "host/shell/Text.h"
#include "host/timeline/ClipTexts.h"
#include "sonrel/base/Timing.h"

namespace orlo::host {

namespace {

std::string SourceText(const otio::PlacedClip& clip, const FrameGrid& grid) {
    const std::string from =
        "from frame " + FormatNumber(TimelineFrames(clip.sourceStartFrame, grid), 3) + " of ";
    if (clip.composition == nullptr) return from + clip.media.path + SoundSuffix(clip.sound);
    return from + "a nested " + clip.composition->schema + " of " +
           FrameCountText(clip.composition->frameCount, grid);
}

}  // namespace

std::string TimecodeText(double frame, const FrameGrid& grid) {
    // The content of a nested item may begin before the timeline.
    const long long sample =
        zrtl::FrameToSample(std::max(frame, 0.0), grid.rate, grid.EngineRate());
    return FormatTimecode(sample, grid);
}

std::vector<std::string> ClipDetails(const otio::PlacedClip& clip, const SoundFit& fit,
                                     const FrameGrid& grid) {
    std::vector<std::string> lines{SourceText(clip, grid)};
    if (clip.muted) lines.emplace_back("muted");
    if (!fit.silence.empty()) lines.push_back(fit.silence);
    if (!fit.note.empty()) lines.push_back(fit.note);
    if (clip.speed != 1.0) lines.push_back("speed " + FormatNumber(clip.speed, 6));
    const std::string level = LevelText(clip.level);
    if (!level.empty()) lines.push_back(level);
    for (const otio::EffectRequest& effect : clip.effects) lines.push_back(EffectText(effect));
    if (clip.fades.Exist()) lines.push_back(FadeText(clip.fades, grid));
    return lines;
}

}  // namespace orlo::host
