// SPDX-License-Identifier: MIT
#include "python/module/Project.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "host/measure/Loudness.h"
#include "host/media/DuckedTracks.h"
#include "host/media/MixPreparation.h"
#include "host/media/ReadCheck.h"
#include "host/mix/MixOptions.h"
#include "host/mix/MixRender.h"
#include "host/mix/Normalization.h"
#include "host/otio/JsonDocument.h"
#include "host/process/Cores.h"
#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "host/timeline/MediaComparison.h"
#include "sonrel/base/StereoFrame.h"
#include "sonrel/base/Timing.h"
#include "sonrel/loudness/LoudnessMeter.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project/EditorSequence.h"

namespace orlo::python {

namespace {

using host::otio::PlacedClip;
using host::otio::PlacedTrack;
using sonrel::AudioMixer;

constexpr const char* NAME_OF_NEW_PROJECT = "project";

host::otio::TimelineImport EmptyImport(double fps, int rate) {
    try {
        host::otio::CheckRates(fps, rate);
    } catch (const host::otio::RateError& error) {
        throw host::UsageError(error.what());
    }
    host::otio::TimelineImport import;
    import.name = NAME_OF_NEW_PROJECT;
    import.arrangement.fps = fps;
    import.arrangement.rate = rate;
    return import;
}

void CheckGain(const std::optional<float>& gainDb) {
    if (gainDb && !std::isfinite(*gainDb)) {
        throw host::UsageError("gain_db must be a finite number of decibels");
    }
}

/// The place of a track or a clip, as messages name it.
std::string NumberedName(const char* kind, std::size_t index, const std::string& name) {
    return kind + (" " + std::to_string(index + 1)) + " " + host::Quoted(name);
}

PlacedClip Placed(const NewClip& clip) {
    PlacedClip placed;
    placed.name = clip.name;
    placed.media.path = host::AbsolutePath(clip.media);
    placed.sound = clip.sound;
    placed.startFrame = clip.startFrame;
    placed.endFrame = clip.startFrame + clip.frameCount;
    placed.sourceStartFrame = clip.sourceStartFrame;
    placed.level.decibels = clip.gainDb;
    return placed;
}

void CheckRange(const NewClip& clip, const PlacedTrack& track) {
    if (clip.startFrame < 0 || clip.sourceStartFrame < 0) {
        throw host::UsageError("start and source_start count frames from 0");
    }
    if (clip.frameCount < 1 ||
        clip.frameCount > std::numeric_limits<int>::max() - clip.startFrame) {
        throw host::UsageError("frames must be 1 or more, and the clip must end before frame " +
                               std::to_string(std::numeric_limits<int>::max()));
    }
    const int end = clip.startFrame + clip.frameCount;
    for (const PlacedClip& other : track.clips) {
        if (clip.startFrame >= other.endFrame || other.startFrame >= end) continue;
        throw host::UsageError("the clip at frames " + std::to_string(clip.startFrame) + " to " +
                               std::to_string(end) + " overlaps the clip " +
                               host::Quoted(other.name) + " at frames " +
                               std::to_string(other.startFrame) + " to " +
                               std::to_string(other.endFrame) + "; use another track");
    }
}

void AddBlock(const sonrel::AudioTrackMetrics& block, SignalLevels& signal) {
    for (std::size_t channel = 0; channel < CHANNELS; ++channel) {
        signal.peaks.push_back(block.peak[channel]);
        signal.clipped.push_back(block.clipped[channel] ? 1 : 0);
    }
}

}  // namespace

std::shared_ptr<Project> Project::Read(const std::shared_ptr<Session>& session,
                                       const std::string& path, const host::GlobalOptions& options,
                                       const host::ReadingChoice& choice) {
    auto project = std::make_shared<Project>(
        session, path, host::ReadTimeline(path, options, choice), options.allowMissing);
    project->OpenMedia();
    return project;
}

Project::Project(std::shared_ptr<Session> session, double fps, int rate)
    : Project(std::move(session), NAME_OF_NEW_PROJECT, EmptyImport(fps, rate), false) {}

Project::Project(std::shared_ptr<Session> session, std::string path,
                 host::otio::TimelineImport import, bool allowMissing)
    : session_(std::move(session)),
      path_(std::move(path)),
      allowMissing_(allowMissing),
      import_(std::move(import)),
      grid_(host::GridOf(import_.arrangement)) {}

long long Project::SampleCount() const {
    return zrtl::TotalSamples(import_.arrangement.frameCount, grid_.rate, grid_.EngineRate());
}

std::vector<std::string> Project::Media() const {
    std::vector<std::string> paths;
    for (const host::MediaUse& use : host::CollectMedia(import_.arrangement.tracks)) {
        if (std::find(paths.begin(), paths.end(), use.location.path) != paths.end()) continue;
        paths.push_back(use.location.path);
    }
    return paths;
}

std::vector<host::otio::ImportReport::Entry> Project::Report() const {
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (lock && isReady_ && built_->IsHere()) return built_->Get()->report.Entries();
    return import_.report.Entries();
}

std::unique_lock<std::mutex> Project::LockForEdit() {
    std::unique_lock lock(mutex_, std::try_to_lock);
    if (!lock) {
        throw host::JobError("an operation uses the project " + host::Quoted(Name()) +
                             "; edit the project after the operation");
    }
    built_.reset();
    isReady_ = false;
    return lock;
}

PlacedTrack& Project::TrackAt(std::size_t track) {
    return import_.arrangement.tracks.at(track);
}

std::size_t Project::AddTrack(const std::string& name, std::optional<float> gainDb) {
    CheckGain(gainDb);
    const auto lock = LockForEdit();
    PlacedTrack track;
    track.name = name;
    track.level.decibels = gainDb;
    import_.arrangement.tracks.push_back(std::move(track));
    return import_.arrangement.tracks.size() - 1;
}

void Project::AddClip(std::size_t track, const NewClip& clip) {
    CheckGain(clip.gainDb);
    const auto lock = LockForEdit();
    PlacedTrack& placedTrack = TrackAt(track);
    CheckRange(clip, placedTrack);
    PlacedClip placed = Placed(clip);
    placed.place = {NumberedName("track", track, placedTrack.name),
                    NumberedName("item", placedTrack.clips.size(), clip.name)};
    host::otio::Arrangement& arrangement = import_.arrangement;
    arrangement.frameCount = std::max(arrangement.frameCount, placed.endFrame);
    placedTrack.clips.push_back(std::move(placed));
}

void Project::SetMuted(std::size_t track, bool muted) {
    const auto lock = LockForEdit();
    TrackAt(track).muted = muted;
}

void Project::OpenMedia() {
    auto built = std::make_unique<Built>();
    built->media = host::CollectMedia(import_.arrangement.tracks);
    const std::vector<host::MediaUse> missing = host::MissingMedia(built->media);
    if (!missing.empty() && !allowMissing_) {
        throw host::ConditionError(host::MissingMediaClause(path_, missing));
    }
    host::ImportMedia(*built->project, built->media, host::AvailableCores());
    built->report = import_.report;
    built_ = std::make_unique<ProcessOwned<Built>>(std::move(built));
}

void Project::MakeReady(const Session::Use& use, host::Progress& progress) {
    if (isReady_) return;
    if (!built_) OpenMedia();
    Built& built = *built_->Get();
    host::ConformAll(use.Engine(), built.media, grid_.rate, progress);
    const host::otio::Arrangement& arrangement = import_.arrangement;
    host::CompareWithMedia(arrangement.tracks, arrangement.frameCount, grid_,
                           host::SoundsOf(built.media), built.report);
    host::BuildSequence(arrangement, built.media, *built.project);
    host::DuckTracks(arrangement, grid_, built.project, progress);
    isReady_ = true;
}

void Project::Prepare(const Session::Use& use, host::Progress& progress) {
    const std::lock_guard lock(mutex_);
    MakeReady(use, progress);
}

void Project::StartMix(const Session::Use& use, const NoiseChoice& noise) const {
    host::MixOptions options;
    options.dither = noise.dither;
    options.seed = noise.seed;
    host::StartMix(*use.Engine().Engine()->Mixer(), options, import_.arrangement.tracks.size(),
                   grid_);
}

void Project::MixBlocks(const Session::Use& use, const zrtl::FrameRange& span, short* samples,
                        const AfterBlock& afterBlock, host::Progress& progress) const {
    AudioMixer& mixer = *use.Engine().Engine()->Mixer();
    const std::shared_ptr<project::Project>& project = built_->Get()->project;
    const host::MixSource source(project, project->Sequence());
    const host::ReadCheck reads(mixer, grid_);
    std::vector<short> block(samples == nullptr ? CHANNELS * static_cast<std::size_t>(grid_.rate)
                                                : 0);
    progress.Begin("mix", "samples", span.Count(), grid_.rate);
    for (long long position = span.start; position < span.end;) {
        if (host::Interrupted()) host::ThrowInterrupted("the mix is not complete");
        const auto count = static_cast<int>(std::min<long long>(grid_.rate, span.end - position));
        short* const room =
            samples == nullptr
                ? block.data()
                : samples + CHANNELS * static_cast<std::size_t>(position - span.start);
        auto* const bytes = reinterpret_cast<unsigned char*>(room);
        host::RequireMixed(source.Mix(mixer, position, count, bytes), count, position, grid_);
        reads.RequireAll();
        afterBlock(room, count);
        position += count;
        progress.Update(position - span.start);
    }
    progress.End();
}

void Project::Mix(const Session::Use& use, const zrtl::FrameRange& span, const NoiseChoice& noise,
                  short* samples, host::Progress& progress) {
    const std::lock_guard lock(mutex_);
    MakeReady(use, progress);
    StartMix(use, noise);
    MixBlocks(
        use, span, samples, [](const short*, int) {}, progress);
    use.Engine().Engine()->Mixer()->StopMeterSession();
}

Levels Project::CollectLevels(const Session::Use& use, const zrtl::FrameRange& span) const {
    const AudioMixer& mixer = *use.Engine().Engine()->Mixer();
    Levels levels;
    levels.span = span;
    levels.rate = grid_.rate;
    levels.blockFrames = host::MeterBlockFrames(grid_.rate);
    levels.master.name = "master";
    for (const PlacedTrack& track : import_.arrangement.tracks) {
        levels.tracks.push_back({track.name, {}, {}});
    }
    const unsigned long long blocks = mixer.MeterBlockCount();
    for (unsigned long long i = 0; i < blocks; ++i) {
        const sonrel::AudioMetrics block = mixer.MetricsForBlock(i);
        AddBlock(block.masterMetrics, levels.master);
        for (std::size_t track = 0; track < levels.tracks.size(); ++track) {
            AddBlock(block.trackMetrics.at(track), levels.tracks[track]);
        }
    }
    return levels;
}

Levels Project::Measure(const Session::Use& use, const zrtl::FrameRange& span,
                        const NoiseChoice& noise, short* samples, host::Progress& progress) {
    const std::lock_guard lock(mutex_);
    MakeReady(use, progress);
    StartMix(use, noise);
    sonrel::LoudnessMeter loudness(grid_.rate);
    const AfterBlock measure = [&](const short* frames, int count) {
        loudness.Add(frames, static_cast<std::size_t>(count));
    };
    MixBlocks(use, span, samples, measure, progress);
    use.Engine().Engine()->Mixer()->StopMeterSession();
    Levels levels = CollectLevels(use, span);
    levels.loudness = loudness.IntegratedLufs();
    levels.truePeak = loudness.TruePeakDb();
    return levels;
}

}  // namespace orlo::python
