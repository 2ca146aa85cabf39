// SPDX-License-Identifier: MIT
#include "host/info/TimelineTree.h"

#include <utility>
#include <variant>

#include "host/shell/SoundText.h"
#include "host/shell/Text.h"
#include "host/timeline/ClipTexts.h"

namespace orlo::host {

namespace {

using otio::PlacedClip;
using otio::PlacedTrack;
using otio::PlacedTransition;

std::string FrameText(int engineFrame, const FrameGrid& grid) {
    return FormatNumber(TimelineFrames(engineFrame, grid), 3);
}

Json LevelJson(const otio::LevelCurve& level) {
    if (level.keys.empty()) return level.decibels ? Json(*level.decibels) : Json(0.0);
    Json keys = Json::Array();
    for (const otio::LevelCurve::Key& key : level.keys) {
        keys.Append(Json::Array({key.timeMs, key.decibels}));
    }
    return keys;
}

Json EffectJson(const otio::EffectRequest& effect) {
    Json parameters = Json::Object();
    for (const auto& [name, value] : effect.parameters) {
        std::visit([&, key = name](const auto& parameter) { parameters[key] = parameter; }, value);
    }
    return Json::Object(
        {{"plugin", effect.plugin}, {"parameters", parameters}, {"enabled", effect.enabled}});
}

Json DuckJson(const otio::DuckRequest& duck) {
    Json parameters = Json::Object();
    for (const auto& [name, value] : duck.parameters) parameters[name] = value;
    return Json::Object({{"by", duck.by}, {"parameters", parameters}});
}

Json TransitionJson(const PlacedTransition& transition, const FrameGrid& grid) {
    const auto index = [](const std::optional<std::size_t>& clip) {
        return clip ? Json(*clip) : Json();
    };
    const int start = transition.joinFrame + transition.relativeStartFrame;
    return Json::Object({{"name", transition.name},
                         {"joinFrame", FramesJson(transition.joinFrame, grid)},
                         {"startFrame", FramesJson(start, grid)},
                         {"length", FramesJson(transition.length, grid)},
                         {"from", index(transition.from)},
                         {"to", index(transition.to)},
                         {"curve", transition.curve}});
}

std::string RangeText(int startFrame, int endFrame, const FrameGrid& grid) {
    return "frames " + FrameText(startFrame, grid) + " to " + FrameText(endFrame, grid) + ": ";
}

std::string TransitionText(const PlacedTrack& track, const PlacedTransition& transition,
                           const FrameGrid& grid) {
    const int start = transition.joinFrame + transition.relativeStartFrame;
    return RangeText(start, start + transition.length, grid) + CrossFadeText(track, transition);
}

/// The time in its media at which a clip begins.
double SourceStartSeconds(const PlacedClip& clip, const FrameGrid& grid) {
    return clip.sourceStartFrame * clip.speed / grid.EngineRate();
}

Json PlacedTracksJson(const std::vector<PlacedTrack>& tracks, const FrameGrid& grid);

Json ClipJson(const PlacedClip& clip, const FrameGrid& grid) {
    Json json = Json::Object({{"name", clip.name},
                              {"media", nullptr},
                              {"stream", StreamJson(clip.sound)},
                              {"startFrame", FramesJson(clip.startFrame, grid)},
                              {"endFrame", FramesJson(clip.endFrame, grid)},
                              {"sourceStartFrame", FramesJson(clip.sourceStartFrame, grid)},
                              {"startSeconds", clip.startFrame / grid.EngineRate()},
                              {"endSeconds", clip.endFrame / grid.EngineRate()},
                              {"sourceStartSeconds", SourceStartSeconds(clip, grid)},
                              {"speed", clip.speed},
                              {"muted", clip.muted},
                              {"audioLevel", LevelJson(clip.level)},
                              {"effects", Json::Array()},
                              {"fadeIn", TimelineFrames(clip.fades.inFrames, grid)},
                              {"fadeOut", TimelineFrames(clip.fades.outFrames, grid)}});
    for (const otio::EffectRequest& effect : clip.effects) {
        json["effects"].Append(EffectJson(effect));
    }
    if (!clip.sound.IsWholeStream()) json["channels"] = ChannelsText(clip.sound);
    if (clip.fades.Exist()) json["fadeCurve"] = clip.fades.curve;
    if (clip.composition == nullptr) {
        json["media"] = clip.media.path;
    } else {
        json["composition"] =
            Json::Object({{"kind", clip.composition->schema},
                          {"frames", FramesJson(clip.composition->frameCount, grid)},
                          {"tracks", PlacedTracksJson(clip.composition->tracks, grid)}});
    }
    return json;
}

Json PlacedTrackJson(const PlacedTrack& track, const FrameGrid& grid) {
    Json objects = Json::Array();
    for (const PlacedClip& clip : track.clips) objects.Append(ClipJson(clip, grid));
    Json transitions = Json::Array();
    for (const PlacedTransition& transition : track.transitions) {
        transitions.Append(TransitionJson(transition, grid));
    }
    Json json = Json::Object({{"name", track.name},
                              {"muted", track.muted},
                              {"solo", track.solo},
                              {"audioLevel", LevelJson(track.level)},
                              {"stereoBalance", track.stereoBalance.value_or(0.0f)},
                              {"objects", objects},
                              {"transitions", transitions}});
    if (track.duck) json["duck"] = DuckJson(*track.duck);
    return json;
}

Json PlacedTracksJson(const std::vector<PlacedTrack>& tracks, const FrameGrid& grid) {
    Json list = Json::Array();
    for (const PlacedTrack& track : tracks) list.Append(PlacedTrackJson(track, grid));
    return list;
}

std::string AfterComma(const std::string& text) {
    return text.empty() ? text : ", " + text;
}

/// Builds the text of the tree.
class TreeText {
public:
    TreeText(const FrameGrid& grid, const TakenSounds& taken) : grid_(grid), taken_(taken) {}

    /// @param kind  added to the line; may be empty
    void AddTrack(const PlacedTrack& track, std::size_t number, const std::string& kind,
                  int depth) {
        std::string line = "track " + std::to_string(number) + " " + Quoted(track.name) + kind;
        line += AfterComma(LevelText(track.level));
        if (track.stereoBalance) line += ", balance " + FormatNumber(*track.stereoBalance, 3);
        line += std::string(track.muted ? ", muted" : "") + (track.solo ? ", solo" : "");
        if (track.duck) line += ", ducked by " + Quoted(track.duck->by);
        Line(line, depth);
        AddItems(track, depth + 1);
    }

    void AddSilentTrack(const otio::TrackSummary& track, std::size_t number) {
        Line("track " + std::to_string(number) + " " + Quoted(track.name) + ", " +
                 OneLine(KindText(track)) + ", not heard, " + std::to_string(track.clips) +
                 (track.clips == 1 ? " clip" : " clips"),
             0);
    }

    std::string Take() { return std::move(text_); }

private:
    void Line(const std::string& line, int depth) {
        text_.append(2 * static_cast<std::size_t>(depth), ' ');
        text_ += line + "\n";
    }

    /// A transition is listed between the clips that it joins.
    void AddItems(const PlacedTrack& track, int depth) {
        std::size_t next = 0;
        for (const PlacedClip& clip : track.clips) {
            while (next < track.transitions.size() &&
                   track.transitions[next].joinFrame <= clip.startFrame) {
                Line(TransitionText(track, track.transitions[next++], grid_), depth);
            }
            AddClip(clip, depth);
        }
        while (next < track.transitions.size()) {
            Line(TransitionText(track, track.transitions[next++], grid_), depth);
        }
    }

    std::string SoundOf(const PlacedClip& clip) const {
        const auto known = taken_.find({clip.media.path, clip.sound});
        if (known == taken_.end()) return SoundSuffix(clip.sound);
        return known->second.empty() ? std::string() : " (" + known->second + ")";
    }

    void AddClip(const PlacedClip& clip, int depth) {
        std::string line = RangeText(clip.startFrame, clip.endFrame, grid_) + Quoted(clip.name) +
                           " from frame " + FrameText(clip.sourceStartFrame, grid_) + " of ";
        line += clip.composition == nullptr
                    ? OneLine(clip.media.path) + SoundOf(clip)
                    : "a nested " + clip.composition->schema + " of " +
                          FrameCountText(clip.composition->frameCount, grid_);
        if (clip.speed != 1.0) line += ", speed " + FormatNumber(clip.speed, 6);
        line += AfterComma(LevelText(clip.level)) + (clip.muted ? ", muted" : "");
        Line(line, depth);
        for (const otio::EffectRequest& effect : clip.effects) Line(EffectText(effect), depth + 1);
        if (clip.fades.Exist()) Line(FadeText(clip.fades, grid_), depth + 1);
        if (clip.composition != nullptr) AddInnerTracks(*clip.composition, depth + 1);
    }

    void AddInnerTracks(const otio::PlacedComposition& composition, int depth) {
        std::size_t number = 0;
        for (const PlacedTrack& track : composition.tracks) AddTrack(track, ++number, {}, depth);
    }

    const FrameGrid grid_;
    const TakenSounds& taken_;
    std::string text_;
};

}  // namespace

Json FramesJson(int engineFrames, const FrameGrid& grid) {
    if (engineFrames % grid.factor == 0) return engineFrames / grid.factor;
    return TimelineFrames(engineFrames, grid);
}

Json TracksJson(const otio::TimelineImport& import, const FrameGrid& grid) {
    Json list = Json::Array();
    std::size_t next = 0;
    for (const otio::TrackSummary& summary : import.allTracks) {
        Json track = Json::Object(
            {{"name", summary.name}, {"objects", Json::Array()}, {"transitions", Json::Array()}});
        if (summary.sounds) track = PlacedTrackJson(import.arrangement.tracks.at(next++), grid);
        track["kind"] = KindText(summary);
        track["sounds"] = summary.sounds;
        track["clips"] = summary.clips;
        list.Append(std::move(track));
    }
    return list;
}

std::string TracksText(const otio::TimelineImport& import, const FrameGrid& grid,
                       const TakenSounds& taken) {
    TreeText tree(grid, taken);
    std::size_t next = 0;
    std::size_t number = 0;
    for (const otio::TrackSummary& summary : import.allTracks) {
        if (!summary.sounds) {
            tree.AddSilentTrack(summary, ++number);
            continue;
        }
        const bool isVideo = summary.kind == otio::Track::Kind::Video;
        tree.AddTrack(import.arrangement.tracks.at(next++), ++number, isVideo ? ", video" : "", 0);
    }
    return tree.Take();
}

}  // namespace orlo::host
