// SPDX-License-Identifier: MIT
#include "host/play/PlayCommand.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "host/media/DuckedTracks.h"
#include "host/media/InputProtection.h"
#include "host/media/MixPreparation.h"
#include "host/media/ReadCheck.h"
#include "host/otio/TimelinePath.h"
#include "host/output/OutputName.h"
#include "host/play/PlayOutput.h"
#include "host/play/PlaySession.h"
#include "host/play/QuietStderr.h"
#include "host/process/Cores.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Paths.h"
#include "host/shell/Terminal.h"
#include "host/shell/Text.h"
#include "host/shell/TextColumns.h"
#include "host/timeline/Input.h"
#include "host/timeline/MediaComparison.h"
#include "host/timeline/SoundingTracks.h"
#include "host/timeline/Strictness.h"
#include "host/timeline/UnusedSound.h"
#include "sonrel/base/Timing.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project/EditorSequence.h"

namespace orlo::host {

namespace {

using sonrel::PlaybackEngine;

/// The target of a playback.
struct PlayTarget {
    std::shared_ptr<project::Project> project = std::make_shared<project::Project>();
    std::shared_ptr<project::MediaAsset> asset;  ///< empty for the project's sequence
    FrameGrid grid;
    long long total = 0;  ///< samples
    std::vector<std::string> trackNames;
    std::vector<MediaUse> media;
    otio::TimelineImport import;  ///< only for a timeline
};

/// Reads a timeline. Its media files are conformed later.
/// @throws JobError for a timeline that cannot be played
PlayTarget TimelineTarget(const GlobalOptions& global, const PlayOptions& options) {
    PlayTarget target;
    ReadingChoice choice;
    choice.audioFrom = options.audioFrom;
    if (options.output == PlayOutput::DEVICE) {
        choice.gridLimit = [bufferMs = options.bufferMs](int rate) {
            return PlayOutput::MaxFrameRate(rate, bufferMs);
        };
    }
    target.import = ReadTimeline(options.input, global, choice);
    const otio::Arrangement& arrangement = target.import.arrangement;
    target.grid = GridOf(arrangement);
    target.total =
        zrtl::TotalSamples(arrangement.frameCount, target.grid.rate, target.grid.EngineRate());
    if (target.total == 0) RefuseEmptyTimeline(options.input, target.import, "play");
    target.trackNames = TrackNames(arrangement);
    target.media = CollectMedia(arrangement.tracks);
    const std::vector<MediaUse> missing = MissingMedia(target.media);
    if (!missing.empty() && !global.allowMissing) {
        throw ConditionError(MissingMediaClause(options.input, missing));
    }
    ImportMedia(*target.project, target.media, AvailableCores());
    return target;
}

PlayTarget MediaTarget(const GlobalOptions& global, const PlayOptions& options) {
    const std::string path = AbsolutePath(options.input);
    PlayTarget target;
    target.asset = ImportMediaFile(*target.project, path, options.sound.Choice());
    target.grid = {RateFor(global), FrameRateOf(*target.asset, global)};
    target.media = {{{path, {}}, options.sound.Choice(), {}, target.asset, {}}};
    // The engine plays a media file at the sample rate of the project and at the frame rate of the
    // media file.
    target.project->Sequence()->Settings().SetCustomAudioSampleRate(target.grid.rate);
    target.asset->AudioStream()->SetFrameRate(target.grid.fps);
    return target;
}

/// Plays one target, stage by stage.
class Player {
public:
    Player(const GlobalOptions& global, const PlayOptions& options)
        : global_(global),
          options_(options),
          target_(otio::IsTimelinePath(options.input) ? TimelineTarget(global, options)
                                                      : MediaTarget(global, options)),
          guard_(options.overwrite) {}

    Outcome Run() {
        ClaimOutput();
        const EngineSession session(global_);
        {
            Progress progress(global_.progress, global_.quiet);
            ConformAll(session, target_.media, target_.grid.rate, progress);
        }
        Complete();
        if (options_.strict && !target_.import.report.IsEmpty()) return RefuseEntries();
        Duck();
        const long long begin = FirstSample();
        PlayOutput output(options_.output, guard_, target_.grid.rate, MaxFrames(begin),
                          options_.bufferMs);
        MeterSessions sessions;
        PlaybackEngine& engine = SetUp(*session.Engine(), output);
        if (HasMeters()) engine.AddMeterObserver(&sessions);
        const ReadCheck reads(*session.Engine()->Mixer(), target_.grid);
        Play(engine, output, sessions, reads, begin);
        engine.RemoveMeterObserver(&sessions);
        reads.RequireAll();
        output.Finish();
        return Report(output);
    }

private:
    /// Completes the target once its media files are conformed.
    void Complete() {
        if (target_.asset) {
            target_.total = target_.asset->AudioStream()->ConformedSampleCount();
        } else {
            otio::TimelineImport& import = target_.import;
            CompareWithMedia(import.arrangement.tracks, import.arrangement.frameCount, target_.grid,
                             SoundsOf(target_.media), import.report);
            BuildSequence(import.arrangement, target_.media, *target_.project);
        }
        if (target_.total == 0) {
            throw JobError("the sound of " + Quoted(options_.input) + " has no length");
        }
    }

    /// Adds the ducking of the tracks of a timeline.
    void Duck() {
        if (target_.asset) return;
        Progress progress(global_.progress, global_.quiet);
        DuckTracks(target_.import.arrangement, target_.grid, target_.project, progress);
    }

    bool HasMeters() const { return !target_.asset && (options_.meters || options_.events); }

    void ClaimOutput() {
        if (!PlayOutput::IsFileName(options_.output)) return;
        ProtectCache(global_, guard_);
        if (target_.asset) {
            ProtectMediaInput(options_.input, guard_);
        } else {
            ProtectTimeline(options_.input, target_.import, guard_);
        }
        guard_.Claim(options_.output);
        RequireExtension(options_.output, PlayFile::Extensions());
    }

    long long FirstSample() const {
        const long long last = target_.total - 1;
        if (options_.from.empty()) return options_.reverse ? last : 0;
        const long long first = ParseSpan(options_.from, {}, target_.grid, target_.total).start;
        if (options_.reverse && first == 0) {
            throw UsageError(
                "--reverse plays the samples before --from, and there are none before " +
                Quoted(options_.from));
        }
        return first;
    }

    /// Maximum number of frames of a run: whole buffers of one frame of the engine, rounded up.
    long long MaxFrames(long long begin) const {
        const auto buffer =
            static_cast<long long>(std::ceil(target_.grid.rate / target_.grid.EngineRate()));
        const long long samples = options_.reverse ? begin : target_.total - begin;
        return (samples / (buffer * options_.speed) + 1) * buffer;
    }

    PlaybackEngine& SetUp(sonrel::Sonrel& sonrel, const PlayOutput& output) const {
        sonrel.Mixer()->SetDither(EngineDither(options_.dither), options_.seed);
        // Opening a device blocks forever when the sound server is frozen.
        std::optional<EndOnInterrupt> endable;
        if (output.IsDevice()) endable.emplace("nothing was played", global_.json);
        std::optional<QuietStderr> quiet(std::in_place);
        PlaybackEngine::Err error = sonrel.InitializePlaybackEngine();
        if (error == PlaybackEngine::Err::NoError) {
            error = target_.asset ? sonrel.Playback()->Initialize(target_.project, target_.asset)
                                  : sonrel.Playback()->Initialize(target_.project,
                                                                  target_.project->Sequence());
        }
        quiet.reset();
        if (error != PlaybackEngine::Err::NoError) {
            throw JobError("cannot play " + Quoted(options_.input) + ": " +
                           PlaybackErrorMessage(error, target_.grid.rate));
        }
        return *sonrel.Playback();
    }

    void Play(PlaybackEngine& engine, PlayOutput& output, MeterSessions& sessions,
              const ReadCheck& reads, long long begin) {
        const PlaySubject subject{options_.input,     target_.grid, target_.total,
                                  target_.trackNames, HasMeters(),  reads};
        PlaySession session(global_, options_, subject, {engine, output, sessions});
        session.Run(begin);
        lastFrame_ = session.LastFrame();
    }

    /// @param samples  the samples that were played
    Outcome ReportHead(long long samples) const {
        Outcome outcome;
        outcome.report["input"] = options_.input;
        outcome.report["output"] = options_.output;
        outcome.report["rate"] = target_.grid.rate;
        outcome.report["fps"] = target_.grid.fps;
        outcome.report["grid"] = target_.grid.factor;
        outcome.report["lastFrame"] =
            lastFrame_ == PlaybackEngine::NO_FRAME ? Json() : Json(lastFrame_);
        outcome.report["samples"] = options_.output == PlayOutput::DEVICE ? Json() : Json(samples);
        if (!target_.asset) {
            outcome.report["audioFrom"] = AudioFromName(target_.import.soundKind);
        }
        outcome.report["notTakenOver"] = NotTakenOverJson(target_.import.report);
        return outcome;
    }

    /// The result with --strict and entries.
    Outcome RefuseEntries() const {
        Outcome outcome = ReportHead(0);
        if (!options_.events) outcome.text = NotTakenOverText(target_.import.report);
        FailOnEntries(options_.input, target_.import.report, "nothing was played: ", outcome);
        return outcome;
    }

    Outcome Report(const PlayOutput& output) const {
        Outcome outcome = ReportHead(output.FramesTaken());
        const std::string unused = target_.asset ? UnusedSoundOfInput(AbsolutePath(options_.input),
                                                                      options_.sound.Choice())
                                                 : std::string();
        if (!unused.empty()) outcome.report["note"] = unused;
        if (options_.events) return outcome;
        if (PlayOutput::IsFileName(options_.output)) {
            outcome.text =
                OneLine(options_.output) + ": " +
                FormatDuration(static_cast<double>(output.FramesTaken()) / target_.grid.rate) +
                ", " + std::to_string(output.FramesTaken()) + " samples at " +
                std::to_string(target_.grid.rate) + " Hz\n";
        }
        if (!unused.empty()) {
            outcome.text +=
                IndentedLines("note: " + unused + "; " + CHOOSE_SOUND, 0, 4, ReportColumns());
        }
        outcome.text += NotTakenOverText(target_.import.report);
        return outcome;
    }

    const GlobalOptions& global_;
    const PlayOptions& options_;
    PlayTarget target_;
    OutputGuard guard_;
    int lastFrame_ = PlaybackEngine::NO_FRAME;
};

void CheckOptions(const GlobalOptions& global, const PlayOptions& options) {
    if (options.events && global.json) {
        throw UsageError("--events prints its own JSON lines; leave out --json");
    }
    if (options.bufferMs != 0 && options.output != PlayOutput::DEVICE) {
        throw UsageError(
            "--buffer sets the buffer of the sound device; leave it out with --output " +
            Quoted(options.output));
    }
}

}  // namespace

Outcome RunPlay(const GlobalOptions& global, const PlayOptions& options) {
    CheckSound(options.sound, {options.input});
    CheckOptions(global, options);
    return Player(global, options).Run();
}

}  // namespace orlo::host
