// SPDX-License-Identifier: MIT
#include "host/timeline/ClipTexts.h"

#include <variant>

#include "host/shell/Text.h"

namespace orlo::host {

namespace {

std::string ClipName(const otio::PlacedTrack& track, const std::optional<std::size_t>& index) {
    return index ? Quoted(track.clips[*index].name) : "silence";
}

}  // namespace

double TimelineFrames(double engineFrames, const FrameGrid& grid) {
    return engineFrames / grid.factor;
}

std::string FrameCountText(double engineFrames, const FrameGrid& grid) {
    const double count = TimelineFrames(engineFrames, grid);
    return FormatShort(count) + (count == 1.0 ? " frame" : " frames");
}

std::string LevelText(const otio::LevelCurve& level) {
    if (!level.keys.empty()) return "level with " + std::to_string(level.keys.size()) + " keys";
    return level.decibels ? "level " + FormatNumber(*level.decibels, 3) + " dB" : std::string();
}

std::string EffectText(const otio::EffectRequest& effect) {
    std::string text = "effect " + OneLine(effect.plugin);
    const char* before = ": ";
    for (const auto& [name, value] : effect.parameters) {
        const std::string* word = std::get_if<std::string>(&value);
        text += before + OneLine(name) + " " +
                (word != nullptr ? OneLine(*word) : FormatShort(std::get<double>(value)));
        before = ", ";
    }
    return text + (effect.enabled ? "" : ", disabled");
}

std::string FadeText(const otio::Fades& fades, const FrameGrid& grid) {
    std::string text;
    if (fades.inFrames > 0.0) text = "fade-in of " + FrameCountText(fades.inFrames, grid);
    if (fades.outFrames > 0.0) {
        text += (text.empty() ? "fade-out of " : ", fade-out of ") +
                FrameCountText(fades.outFrames, grid);
    }
    return text + ", " + fades.curve;
}

std::string CrossFadeText(const otio::PlacedTrack& track,
                          const otio::PlacedTransition& transition) {
    return "cross-fade from " + ClipName(track, transition.from) + " to " +
           ClipName(track, transition.to) + ", " + transition.curve;
}

std::string KindText(const otio::TrackSummary& track) {
    if (track.kind == otio::Track::Kind::Audio) return "audio";
    return track.kind == otio::Track::Kind::Video ? "video" : track.kindName;
}

}  // namespace orlo::host
