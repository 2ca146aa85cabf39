// SPDX-License-Identifier: MIT
#include "host/loudness/InputMeasurement.h"

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

#include "host/media/DuckedTracks.h"
#include "host/media/MixPreparation.h"
#include "host/media/ReadCheck.h"
#include "host/otio/TimelinePath.h"
#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
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

/// Fills a buffer with the samples from a position.
/// @return count, or the error code of the mixer
using ReadSamples = std::function<int(long long position, int count, unsigned char* buffer)>;

/// The dither of mix.
constexpr sonrel::DitherType DITHER = sonrel::DitherType::HighPassTriangular;
constexpr unsigned int SEED = 1;

/// A signal that is measured.
struct MeasuredSignal {
    const AudioMixer& mixer;
    const ReadCheck& reads;
    FrameGrid grid;
    long long total = 0;  ///< samples
    ReadSamples read;
};

/// Reads a signal in the blocks of a mix, one frame of the engine each, and measures it.
void Measure(const MeasuredSignal& signal, sonrel::LoudnessMeter& meter, Progress& progress) {
    progress.Begin("measure", "samples", signal.total, signal.grid.rate);
    const FrameGrid blocks = signal.grid.Engine();
    std::vector<short> buffer;
    long long position = 0;
    for (long long frame = 0; position < signal.total; ++frame) {
        if (Interrupted()) ThrowInterrupted("the measurement is incomplete");
        const long long end = std::min(blocks.Start(frame + 1), signal.total);
        const auto count = static_cast<int>(end - position);
        buffer.resize(2 * static_cast<std::size_t>(count));
        const int got =
            signal.read(position, count, reinterpret_cast<unsigned char*>(buffer.data()));
        signal.reads.RequireAll();
        if (got != count) {
            throw JobError("the mixer returned " + std::to_string(got) + " for " +
                           std::to_string(count) + " samples at " +
                           FormatTimecode(position, signal.grid));
        }
        meter.Add(buffer.data(), static_cast<std::size_t>(count));
        position = end;
        progress.Update(position);
    }
    progress.End();
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
    std::vector<MediaUse> media = CollectMedia(arrangement.tracks);
    const std::vector<MediaUse> missing = MissingMedia(media);
    if (!missing.empty() && !global.allowMissing) {
        throw ConditionError(MissingMediaClause(input, missing));
    }
    const auto project = std::make_shared<project::Project>();
    ImportMedia(*project, media);
    ConformAll(session, media, grid.rate, progress);
    CompareWithMedia(arrangement.tracks, arrangement.frameCount, grid, SoundsOf(media),
                     import.report);
    BuildSequence(arrangement, media, *project);
    DuckTracks(arrangement, grid, project, progress);

    AudioMixer& mixer = *session.Engine()->Mixer();
    mixer.SetDither(DITHER, SEED);
    mixer.ResetMixSession();
    const ReadCheck reads(mixer, grid);
    const ReadSamples read = [&](long long position, int count, unsigned char* buffer) {
        return mixer.GetSamples(project, project->Sequence(), position, count, buffer,
                                count * zrtl::FRAME_BYTES, 0, 0);
    };
    InputMeasurement result{sonrel::LoudnessMeter(grid.rate), {}};
    Measure({mixer, reads, grid, total, read}, result.meter, progress);
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
    InputMeasurement result{sonrel::LoudnessMeter(grid.rate), {}};
    Measure({mixer, reads, grid, total, read}, result.meter, progress);
    return result;
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
