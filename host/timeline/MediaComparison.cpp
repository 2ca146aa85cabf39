// SPDX-License-Identifier: MIT
#include "host/timeline/MediaComparison.h"

#include <algorithm>

#include "host/otio/AudioFrom.h"
#include "host/shell/Text.h"
#include "host/timeline/ClipFrames.h"
#include "sonrel/base/Timing.h"
#include "sonrel/project/MediaAudioStream.h"

namespace orlo::host {

namespace {

using otio::PlacedClip;
using otio::PlacedTrack;

/// Silence that is not reported.
constexpr double TOLERANCE_SECONDS = 0.0005;

/// Converts frames of a nested item to frames of the timeline.
struct TimelineMap {
    double offset = 0.0;
    double scale = 1.0;

    double Of(double frame) const { return offset + scale * frame; }
};

Stretch Cut(const Stretch& frames, const Stretch& window) {
    return {std::max(frames.begin, window.begin), std::min(frames.end, window.end)};
}

double TrackFrame(const PlacedClip& clip, double sourceFrame) {
    return clip.startFrame + (sourceFrame / clip.speed - clip.sourceStartFrame);
}

class Comparison {
public:
    Comparison(const FrameGrid& grid, const MediaSounds& sounds, otio::ImportReport& report)
        : grid_(grid), sounds_(sounds), report_(report) {}

    /// @param window  the frames of the tracks that sound on the timeline
    void Add(const std::vector<PlacedTrack>& tracks, const Stretch& window,
             const TimelineMap& map) {
        for (const PlacedTrack& track : tracks) {
            const std::vector<Stretch> frames = SoundingFrames(track);
            for (std::size_t i = 0; i < track.clips.size(); ++i) {
                const Stretch heard = Cut(frames[i], window);
                if (heard.begin < heard.end) Add(track.clips[i], heard, map);
            }
            for (const PlacedClip& clip : track.unheard) AddUnheard(clip, window, map);
        }
    }

    ClipTally Take() { return std::move(tally_); }

private:
    void Add(const PlacedClip& clip, const Stretch& heard, const TimelineMap& map) {
        if (clip.composition != nullptr) {
            if (!clip.muted) AddNested(clip, heard, map);
            return;
        }
        const auto sound = sounds_.find({clip.media.path, clip.sound});
        if (sound == sounds_.end()) {
            ++tally_.unread;
            return;
        }
        const SoundFit& fit = sound->second.fit;
        if (clip.isPicture && fit.silence == NO_SOUND_REASON) {
            otio::NoteSilentPicture(clip.place, report_);
            return;
        }
        if (!fit.note.empty()) report_.Add("clip", clip.place, fit.note, otio::Severity::Note);
        if (!fit.silence.empty()) {
            report_.Add("clip", clip.place, fit.silence, otio::Severity::Silence);
            CountSilent(clip, fit);
        } else if (clip.muted) {
            ++tally_.muted;
        } else {
            AddClip(clip, heard, map, sound->second.seconds * grid_.EngineRate());
        }
    }

    /// Adds a clip or a nested item that ends before its media. The media file is not read.
    void AddUnheard(const PlacedClip& clip, const Stretch& window, const TimelineMap& map) {
        const bool isClip = clip.composition == nullptr;
        const Stretch asked =
            Cut({static_cast<double>(clip.startFrame), static_cast<double>(clip.endFrame)}, window);
        if (asked.begin >= asked.end) return;
        if (clip.muted) {
            if (isClip) ++tally_.muted;
            return;
        }
        const double media = static_cast<double>(clip.startFrame) + clip.framesBeforeMedia;
        const Stretch wanted{(asked.begin - media) * clip.speed, (asked.end - media) * clip.speed};
        if (isClip) CountBeyond(asked.end - asked.begin, map);
        Report(clip, wanted, isClip ? "before its media" : "before its content",
               Silence(asked, map));
    }

    /// @param silent  frames of the track
    void CountBeyond(double silent, const TimelineMap& map) {
        ++tally_.beyond;
        tally_.longestSilence =
            std::max(tally_.longestSilence, silent * map.scale / grid_.EngineRate());
    }

    void CountSilent(const PlacedClip& clip, const SoundFit& fit) {
        if (fit.isUnread) {
            ++tally_.unreadPictures;
            return;
        }
        if (fit.silence != MISSING_MEDIA_REASON) {
            ++tally_.soundless;
            return;
        }
        ++tally_.missing;
        tally_.missingFiles.insert(clip.media.path);
    }

    /// The content of a nested item may be shorter than the item, as after its last sound.
    void AddNested(const PlacedClip& clip, const Stretch& heard, const TimelineMap& map) {
        const double length = clip.composition->frameCount;
        const Stretch wanted = SourceFrames(clip, heard);
        const std::string extent = "its content has " + FrameNumber(length);
        if (wanted.begin >= length || wanted.end <= 0.0) {
            Report(clip, wanted, extent, Silence(heard, map));
            return;
        }
        const double first = TrackFrame(clip, 0.0);
        if (first - heard.begin > Tolerance(map)) {
            Report(clip, wanted, extent, Silence({heard.begin, first}, map));
        }
        const TimelineMap inner{map.Of(TrackFrame(clip, 0.0)), map.scale / clip.speed};
        Add(clip.composition->tracks, {std::max(wanted.begin, 0.0), std::min(wanted.end, length)},
            inner);
    }

    /// @param length  of the media file, in frames
    void AddClip(const PlacedClip& clip, const Stretch& heard, const TimelineMap& map,
                 double length) {
        const double first = std::clamp(TrackFrame(clip, 0.0), heard.begin, heard.end);
        const double last = std::clamp(TrackFrame(clip, length), heard.begin, heard.end);
        const double tolerance = Tolerance(map);
        std::string silence;
        if (first - heard.begin > tolerance) silence = Silence({heard.begin, first}, map);
        if (heard.end - last > tolerance && first < heard.end) {
            silence += (silence.empty() ? "" : " and ") + Silence({last, heard.end}, map);
        }
        if (silence.empty()) {
            ++tally_.whole;
            return;
        }
        CountBeyond((first - heard.begin) + (heard.end - last), map);
        Report(clip, SourceFrames(clip, heard), "the file has " + FrameNumber(length), silence);
    }

    /// Frames of a track whose silence is not reported.
    double Tolerance(const TimelineMap& map) const {
        return TOLERANCE_SECONDS * grid_.EngineRate() / map.scale;
    }

    std::string Silence(const Stretch& frames, const TimelineMap& map) const {
        return "from " + Timecode(map.Of(frames.begin)) + " to " + Timecode(map.Of(frames.end));
    }

    /// A frame of the engine in frames of the timeline.
    std::string FrameNumber(double frame) const { return FormatNumber(frame / grid_.factor, 3); }

    std::string Timecode(double frame) const {
        return FormatTimecode(zrtl::FrameToSample(frame, grid_.rate, grid_.EngineRate()), grid_);
    }

    /// @param extent  where the media is: "the file has 899"
    void Report(const PlacedClip& clip, const Stretch& wanted, const std::string& extent,
                const std::string& silence) const {
        const bool isClip = clip.composition == nullptr;
        report_.Add(isClip ? "clip" : "nested " + clip.composition->schema, clip.place,
                    "it asks for frames " + FrameNumber(wanted.begin) + " to " +
                        FrameNumber(wanted.end) + ", " + extent + "; it is silent " + silence,
                    otio::Severity::Silence);
    }

    const FrameGrid& grid_;
    const MediaSounds& sounds_;
    otio::ImportReport& report_;
    ClipTally tally_;
};

MediaSound SoundOf(const MediaUse& use) {
    if (!use.fit.silence.empty()) return {0.0, use.fit};
    const auto& stream = use.asset->AudioStream();
    const double rate = stream->ConformedSampleRate();
    return {rate > 0.0 ? static_cast<double>(stream->ConformedSampleCount()) / rate : 0.0, use.fit};
}

}  // namespace

MediaSounds SoundsOf(const std::vector<MediaUse>& media) {
    MediaSounds sounds;
    for (const MediaUse& use : media) {
        sounds.insert_or_assign({use.location.path, use.sound}, SoundOf(use));
    }
    return sounds;
}

ClipTally CompareWithMedia(const std::vector<otio::PlacedTrack>& tracks, int frameCount,
                           const FrameGrid& grid, const MediaSounds& sounds,
                           otio::ImportReport& report) {
    Comparison comparison(grid, sounds, report);
    comparison.Add(tracks, {0.0, static_cast<double>(frameCount)}, {});
    return comparison.Take();
}

}  // namespace orlo::host
