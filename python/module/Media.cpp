// SPDX-License-Identifier: MIT
#include "python/module/Media.h"

#include <algorithm>
#include <memory>

#include "host/align/Recordings.h"
#include "host/media/Conforming.h"
#include "host/media/MixPreparation.h"
#include "host/media/PeakMaking.h"
#include "host/media/ReadCheck.h"
#include "host/mix/MixRender.h"
#include "host/output/OutputGuard.h"
#include "host/output/WavWriter.h"
#include "host/process/Cores.h"
#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "host/waveform/PicturePainter.h"
#include "host/waveform/WaveformPicture.h"
#include "python/module/Project.h"
#include "sonrel/base/StereoFrame.h"
#include "sonrel/cache/PeakFile.h"
#include "sonrel/mixer/AudioMixer.h"

namespace orlo::python {

namespace {

using sonrel::PeakFile;

host::FileResult ResultWithoutTask(const host::MediaEntry& entry) {
    const bool isAllowed = entry.missing && entry.error.empty();
    return {isAllowed ? host::FileStatus::Missing : host::FileStatus::Failed, {}, entry.error};
}

/// The peak file of a sound.
struct PeakFileOfSound {
    host::PeakTask task;
    std::string path;
};

/// @param manager  outlives the result
PeakFileOfSound FindPeakFile(const Session::Use& use,
                             const std::shared_ptr<project::MediaManager>& manager,
                             const MediaSound& sound, host::Progress& progress) {
    std::vector<host::PeakTask> tasks{
        host::PeakTaskFor(manager, host::AbsolutePath(sound.path), sound.choice)};
    host::FindOrMakePeakFiles(use.Engine(), tasks, {}, progress);
    const host::FileResult& result = tasks.front().result;
    if (result.status == host::FileStatus::Failed) throw host::JobError(result.error);
    return {tasks.front(), result.path};
}

void RequireRead(PeakFile::Result result, const std::string& path) {
    if (result == PeakFile::Result::Ok) return;
    throw host::JobError("cannot read the peak file " + host::Quoted(path) +
                         " to its end; run the operation again, or remove the file");
}

/// The rate of the samples as they are read, because a container may declare a wrong rate.
int ExactRate(const MediaSound& sound) {
    project::Project project;
    return host::ImportMediaFile(project, host::AbsolutePath(sound.path), sound.choice)
        ->AudioStream()
        ->NativeSampleRate();
}

Picture PictureOf(const host::Picture& drawn) {
    const host::Picture image = host::FindPicturePainter().toRgba(drawn);
    if (image.bytes == nullptr) throw std::bad_alloc();
    return {image.width, image.height, {image.bytes.get(), image.bytes.get() + image.Size()}};
}

}  // namespace

std::vector<ConformedSound> Conform(const Session::Use& use, const host::GlobalOptions& options,
                                    const ConformRequest& request, host::Progress& progress) {
    project::Project project;
    std::vector<host::ConformTask> tasks;
    const auto makeTask = [&](const std::string& path, const zrh::media::SoundChoice& sound,
                              int rate) {
        host::ConformTask task;
        task.asset = host::ImportMediaFile(project, path, sound);
        task.rate = rate;
        tasks.push_back(task);
        return tasks.size() - 1;
    };
    host::MediaCollector collector(options, nullptr, request.choice, host::otio::AudioFrom::Auto,
                                   makeTask);
    for (const std::string& input : request.inputs) collector.Add(input);
    host::ConformSettings settings;
    settings.jobs = request.jobs;
    settings.force = request.force;
    host::Conform(use.Engine(), tasks, settings, progress);
    std::vector<ConformedSound> sounds;
    for (const host::MediaEntry& entry : collector.entries) {
        sounds.push_back(
            {entry, entry.task ? tasks[*entry.task].result : ResultWithoutTask(entry)});
    }
    return sounds;
}

std::vector<short> ReadSound(const Session::Use& use, const MediaSound& sound,
                             const ReadRange& range, host::Progress& progress) {
    const int rate = range.rate;
    const std::string path = host::AbsolutePath(sound.path);
    project::Project project;
    const std::shared_ptr<project::MediaAsset> asset =
        host::ImportMediaFile(project, path, sound.choice);
    host::ConformAll(use.Engine(), {{{path, {}}, sound.choice, {}, asset, {}}}, rate, progress);
    const host::FrameGrid grid{rate, host::FrameRateOf(*asset, {})};
    const long long total = asset->AudioStream()->ConformedSampleCount();
    if (total == 0) throw host::JobError("the sound of " + host::Quoted(path) + " has no length");
    const zrtl::FrameRange span = host::ParseSpan(range.from, range.to, grid, total);
    sonrel::AudioMixer& mixer = *use.Engine().Engine()->Mixer();
    const host::ReadCheck reads(mixer, grid);
    std::vector<short> samples(CHANNELS * static_cast<std::size_t>(span.Count()));
    for (long long position = span.start; position < span.end;) {
        if (host::Interrupted()) host::ThrowInterrupted("the sound is not read to its end");
        const auto count = static_cast<int>(std::min<long long>(rate, span.end - position));
        short* const room =
            samples.data() + CHANNELS * static_cast<std::size_t>(position - span.start);
        const int got =
            mixer.GetSamples(asset, position, count, reinterpret_cast<unsigned char*>(room),
                             count * zrtl::FRAME_BYTES);
        reads.RequireAll();
        host::RequireMixed(got, count, position, grid);
        position += count;
    }
    return samples;
}

Peaks ReadPeaks(const Session::Use& use, const MediaSound& sound, int samplesPerPoint,
                host::Progress& progress) {
    if (samplesPerPoint < PeakFile::SAMPLES_PER_BLOCK ||
        samplesPerPoint % PeakFile::SAMPLES_PER_BLOCK != 0) {
        throw host::UsageError("samples_per_point must be a multiple of 32, and is " +
                               std::to_string(samplesPerPoint));
    }
    const auto manager = std::make_shared<project::MediaManager>();
    const PeakFileOfSound source = FindPeakFile(use, manager, sound, progress);
    PeakFile file;
    if (!file.Open(host::WidePath(source.path))) {
        throw host::JobError("the sound of " + host::Quoted(sound.path) + " has no length");
    }
    Peaks peaks;
    peaks.rate = ExactRate(sound);
    peaks.channels = file.ChannelCount();
    peaks.samplesPerPoint = samplesPerPoint;
    const auto step = static_cast<double>(samplesPerPoint) / PeakFile::SAMPLES_PER_BLOCK;
    RequireRead(file.GetChannelPeaks(0, file.BlockCount(), step, peaks.peaks), source.path);
    RequireRead(file.GetRMSAmplitude(0, file.BlockCount(), step, peaks.rms), source.path);
    return peaks;
}

Picture DrawSound(const Session::Use& use, const MediaSound& sound,
                  const host::WaveformOptions& options, host::Progress& progress) {
    const auto manager = std::make_shared<project::MediaManager>();
    const PeakFileOfSound found = FindPeakFile(use, manager, sound, progress);
    const host::PeakSource source = host::OpenPeakSource(host::AbsolutePath(sound.path), found.path,
                                                         found.task.rate, found.task.frames);
    const zrtl::FrameRange range =
        host::ParseStreamRange(options.range, source.rate, source.samples);
    return PictureOf(host::DrawWaveform(source, range, options,
                                        host::ResolveColors(options.colors, options.background),
                                        options.size));
}

AlignedPair AlignFiles(const Session::Use& use, const AlignmentTask& task,
                       host::Progress& progress) {
    host::GlobalOptions options;
    options.rate = task.rate;
    host::Recordings recordings(options, {task.first, task.second}, task.choice);
    recordings.Prepare(use.Engine(), host::AvailableCores(), progress);
    const std::vector<host::Recording>& list = recordings.List();
    for (const host::Recording& recording : list) {
        if (!recording.error.empty()) throw host::JobError(recording.error);
    }
    const std::shared_ptr<sonrel::Sonrel>& engine = use.Engine().Engine();
    const host::RecordingPair pair(engine, list[0], list[1], task.rate);
    const host::ReadCheck reads(*engine->Mixer(),
                                {task.rate, host::FrameRateOf(*list[0].asset, options)});
    AlignedPair aligned;
    aligned.result = host::Align(pair, task.minCorrelation, progress);
    reads.RequireAll();
    aligned.rate = task.rate;
    aligned.overlap = pair.OverlapAt(aligned.result.found.refined.offset).Count();
    return aligned;
}

void WriteWav(const std::string& path, const short* samples, long long frames, int rate) {
    host::OutputGuard guard(false);
    guard.Claim(path);
    host::WavWriter writer(path, guard, rate, frames);
    writer.Write(samples, frames);
    writer.Seal();
    writer.Finish();
}

}  // namespace orlo::python
