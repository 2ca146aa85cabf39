// SPDX-License-Identifier: MIT
#include "host/loudness/InputMeasurement.h"

#include <utility>
#include <vector>

#include "host/measure/SignalReading.h"
#include "host/media/DuckedTracks.h"
#include "host/media/MixPreparation.h"
#include "host/media/ReadCheck.h"
#include "host/otio/TimelinePath.h"
#include "host/process/Cores.h"
#include "host/shell/Errors.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "host/timeline/MediaComparison.h"
#include "sonrel/base/StereoFrame.h"
#include "sonrel/base/Timing.h"
#include "sonrel/mixer/AudioMixer.h"
#include "sonrel/project/EditorSequence.h"

namespace orlo::host {

namespace {

using sonrel::AudioMixer;

InputMeasurement Measure(const MeasuredSignal& signal, Progress& progress) {
    InputMeasurement result{sonrel::LoudnessMeter(signal.grid.rate), {}};
    const TakeSamples take = [&](const short* frames, std::size_t count) {
        result.meter.Add(frames, count);
    };
    ReadSignal(signal, take, progress);
    return result;
}

/// The media files of a timeline. @throws ConditionError when files are missing without permission
std::vector<MediaUse> AvailableMedia(const otio::Arrangement& arrangement, const std::string& input,
                                     const GlobalOptions& global) {
    std::vector<MediaUse> media = CollectMedia(arrangement.tracks);
    const std::vector<MediaUse> missing = MissingMedia(media);
    if (!missing.empty() && !global.allowMissing) {
        throw ConditionError(MissingMediaClause(input, missing));
    }
    return media;
}

InputMeasurement MeasureTimeline(const std::string& input, const GlobalOptions& global,
                                 const EngineSession& session, Progress& progress) {
    otio::TimelineImport import = ReadTimeline(input, global);
    const otio::Arrangement& arrangement = import.arrangement;
    const FrameGrid grid = GridOf(arrangement);
    const long long total =
        zrtl::TotalSamples(arrangement.frameCount, grid.rate, grid.EngineRate());
    if (total == 0) {
        throw JobError("the timeline " + Quoted(input) +
                       " has no length: there is nothing to measure");
    }
    std::vector<MediaUse> media = AvailableMedia(arrangement, input, global);
    const auto project = std::make_shared<project::Project>();
    ImportMedia(*project, media, AvailableCores());
    ConformAll(session, media, grid.rate, progress);
    CompareWithMedia(arrangement.tracks, arrangement.frameCount, grid, SoundsOf(media),
                     import.report);
    BuildSequence(arrangement, media, *project);
    DuckTracks(arrangement, grid, project, progress);

    AudioMixer& mixer = *session.Engine()->Mixer();
    BeginMix(mixer);
    const ReadCheck reads(mixer, grid);
    const ReadSamples read = [&](long long position, int count, unsigned char* buffer) {
        return mixer.GetSamples(project, project->Sequence(), position, count, buffer,
                                count * zrtl::FRAME_BYTES, 0, 0);
    };
    InputMeasurement result = Measure({reads, grid, {0, total}, read}, progress);
    result.report = std::move(import.report);
    return result;
}

InputMeasurement MeasureMediaFile(const std::string& input, const GlobalOptions& global,
                                  const zrh::media::SoundChoice& sound,
                                  const EngineSession& session, Progress& progress) {
    const std::string path = AbsolutePath(input);
    project::Project project;
    const std::vector<MediaUse> media{
        {{path, {}}, sound, {}, ImportMediaFile(project, path, sound), {}}};
    const std::shared_ptr<project::MediaAsset>& asset = media.front().asset;
    const FrameGrid grid{RateFor(global), FrameRateOf(*asset, global)};
    ConformAll(session, media, grid.rate, progress);
    const long long total = asset->AudioStream()->ConformedSampleCount();
    if (total == 0) throw JobError("the sound of " + Quoted(path) + " has no length");

    AudioMixer& mixer = *session.Engine()->Mixer();
    const ReadCheck reads(mixer, grid);
    const ReadSamples read = [&](long long position, int count, unsigned char* buffer) {
        return mixer.GetSamples(asset, position, count, buffer, count * zrtl::FRAME_BYTES);
    };
    return Measure({reads, grid, {0, total}, read}, progress);
}

}  // namespace

InputMeasurement MeasureInput(const std::string& input, const GlobalOptions& global,
                              const zrh::media::SoundChoice& sound, const EngineSession& session,
                              Progress& progress) {
    progress.SetFile(input);
    return otio::IsTimelinePath(input) ? MeasureTimeline(input, global, session, progress)
                                       : MeasureMediaFile(input, global, sound, session, progress);
}

}  // namespace orlo::host
