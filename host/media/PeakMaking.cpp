// SPDX-License-Identifier: MIT
#include "host/media/PeakMaking.h"

#include <algorithm>

#include "host/media/CacheFileRunner.h"
#include "host/media/DatabaseErrorMessage.h"
#include "host/output/OutputTarget.h"
#include "host/process/SystemLimits.h"
#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "host/timeline/Input.h"
#include "host/timeline/SoundProblem.h"
#include "sonrel/base/Paths.h"
#include "sonrel/cache/CacheFileCheck.h"
#include "sonrel/cache/PeakFile.h"
#include "sonrel/cache/WaveformPeakFileHelper.h"
#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/OpenMediaFile.h"
#include "sonrel/media/input/ReadObserver.h"

namespace orlo::host {

namespace {

using project::MediaAsset;
using project::MediaAudioStream;
using project::MediaDB;
using sonrel::PeakFile;
using zrh::media::ReadObserver;
using zrh::media::SoundChoice;
using zrh::media::ZRAbstractMediaFile;

constexpr const char* STEP = "peaks";

std::string MediaPath(const PeakTask& task) {
    return zrtl::ToUtf8(task.asset->Filename());
}

/// Upper limit of the size of a peak file with @p frames frames. A container may declare any number
/// of channels.
long long BytesOf(const PeakTask& task, long long frames) {
    const double blocks = static_cast<double>(frames) / PeakFile::SAMPLES_PER_BLOCK + 1.0;
    const double bytes = blocks * (1.0 + 2.0 * task.channels);
    return PeakFile::HEADER_BYTES + static_cast<long long>(std::min(bytes, 1e18));
}

/// The reason why a peak file cannot store the channels of a task; empty when it can.
std::string ChannelErrorMessage(const PeakTask& task) {
    if (!HasTooManyChannels(task)) return {};
    return "its sound has " + std::to_string(task.channels) +
           " channels, and a peak file has at most " + std::to_string(PeakFile::MAX_CHANNELS);
}

/// A clause about a peak file that was not made, without the reason.
std::string CreationFailureClause(const PeakTask& task) {
    return "cannot create the peak file of " + Quoted(MediaPath(task));
}

/// The streams of a file as the container declares them, without reading the sound.
zrh::media::MediaInfo DeclaredStreams(ZRAbstractMediaFile& file) {
    zrh::media::MediaInfo info;
    for (const auto& stream : file.Streams()) {
        zrh::media::MediaStreamInfo& audio = info.streams.emplace_back();
        if (stream->StreamType() != 0) continue;
        audio.kind = zrh::media::MediaStreamKind::Audio;
        audio.sampleRate = stream->SampleRate();
        audio.channels = stream->ChannelCount();
        audio.bitsPerSample = stream->BitsPerSample();
        audio.dataType = stream->SampleDataType();
    }
    return info;
}

/// The choice with the streams of its channels. @throws JobError where the file does not have them
SoundChoice ResolvedSound(const std::string& path, ZRAbstractMediaFile& file,
                          const SoundChoice& choice) {
    const zrh::media::MediaInfo declared = DeclaredStreams(file);
    SoundChoice sound;
    if (zrh::media::ResolveSound(declared, choice, &sound) == 0) return sound;
    throw JobError("cannot use " + Quoted(path) + ": it " + SoundProblem(declared, choice));
}

/// The reason why the sound of a task produced no peak file, as far as it can be determined
/// afterwards.
std::string SoundErrorMessage(const PeakTask& task) {
    zrh::media::MediaInfo info;
    std::string reason;
    zrh::media::DescribeMedia(WidePath(MediaPath(task)), &info, &reason);
    return reason;
}

/// The counted frames of a task's stream, because a container may declare a wrong number; 0 when
/// the stream cannot be read.
long long ExactFrames(const PeakTask& task) {
    zrh::media::MediaInfo info;
    zrh::media::DescribeMedia(WidePath(MediaPath(task)), &info);
    const SoundChoice sound = SoundChoice::FromNumber(task.asset->AudioStreamIndex());
    long long frames = 0;
    for (const int index : {sound.Stream(), sound.right.stream}) {
        const auto* stream = zrh::media::FindStream(info, zrh::media::MediaStreamKind::Audio,
                                                    static_cast<unsigned long long>(index));
        if (stream != nullptr) frames = std::max(frames, stream->sampleCount);
    }
    return frames;
}

class PeakTasks final : public CacheFileTasks {
public:
    PeakTasks(const EngineSession& session, std::vector<PeakTask>& tasks)
        : session_(session), tasks_(tasks) {}

    std::size_t Count() const override { return tasks_.size(); }

    long long Frames(std::size_t task) const override { return tasks_[task].frames; }

    int Rate(std::size_t task) const override { return tasks_[task].rate; }

    std::string Media(std::size_t task) const override { return MediaPath(tasks_[task]); }

    CacheFileAttempt Attempt(std::size_t task, bool remake,
                             const std::shared_ptr<MediaDB>& database,
                             TaskMonitor& monitor) override {
        const PeakTask& made = tasks_[task];
        CacheFileAttempt attempt = AttemptFor(made, made.frames, remake, database, monitor);
        if (monitor.SpaceMessage().empty() || Interrupted()) return attempt;
        const long long frames = ExactFrames(made);
        return frames == made.frames ? attempt
                                     : AttemptFor(made, frames, remake, database, monitor);
    }

    std::string Check(std::size_t task, const std::string& path, bool isMade) override {
        if (path.empty() || isMade) return {};
        const bool isWhole =
            sonrel::CacheFileCheck::IsWholePeakFile(WidePath(path), tasks_[task].channels);
        return isWhole ? std::string() : "its peak file is damaged";
    }

    std::string FailureReason(std::size_t task, const CacheFileAttempt& last) const override {
        const PeakTask& failed = tasks_[task];
        std::string message = last.mediaFailure;
        if (message.empty()) message = ChannelErrorMessage(failed);
        if (message.empty() && !last.databaseFailure.empty()) {
            message = DatabaseErrorMessage(session_.Paths().database, last.databaseFailure,
                                           session_.Paths().databaseRemedy);
        }
        if (message.empty()) {
            message = FolderErrorMessage(session_.Paths(), BytesOf(failed, failed.frames));
        }
        if (message.empty()) message = SoundErrorMessage(failed);
        if (message.empty()) message = DescriptorErrorMessage();
        return message.empty() ? "its sound could not be read or recorded" : message;
    }

    std::string FailureClause(std::size_t task) const override {
        return CreationFailureClause(tasks_[task]);
    }

    void Store(std::size_t task, const FileResult& result) override {
        tasks_[task].result = result;
    }

private:
    /// @param frames  expected frames, for the comparison with the free disk space
    CacheFileAttempt AttemptFor(const PeakTask& task, long long frames, bool remake,
                                const std::shared_ptr<MediaDB>& database, TaskMonitor& monitor) {
        monitor.Start(BytesOf(task, frames));
        const ReadObserver observer([&monitor](long long done) { return monitor.Report(done); });
        const auto operation = remake ? sonrel::WaveformPeakFileHelper::RemakeWaveformPeakFile
                                      : sonrel::WaveformPeakFileHelper::CreateWaveformPeakFile;
        const std::wstring path =
            operation(task.asset, session_.Engine()->MediaCacheFolderPath(),
                      session_.Engine()->MediaCacheErrorLog(), database, true);
        return {zrtl::ToUtf8(path), observer.Failure(), {}};
    }

    const EngineSession& session_;
    std::vector<PeakTask>& tasks_;
};

PeakFile::CreateMode EngineMode(PeakMode mode) {
    switch (mode) {
        case PeakMode::Single:
            return PeakFile::CreateMode::SingleThreaded;
        case PeakMode::Multi:
            return PeakFile::CreateMode::MultiThreaded;
        case PeakMode::Auto:
            break;
    }
    return PeakFile::CreateMode::Auto;
}

/// Whether a result of PeakFile::Create concerns the output file.
bool IsAboutOutput(int code) {
    return code == PeakFile::OUTPUT_NOT_OPENED || code == PeakFile::OUTPUT_NOT_POSITIONED ||
           code <= PeakFile::HEADER_NOT_POSITIONED ||
           (code <= PeakFile::SECOND_QUARTER_NOT_WRITTEN &&
            code >= PeakFile::FOURTH_QUARTER_NOT_WRITTEN);
}

/// The result of PeakFile::Create, and the message of a read that failed.
struct PeakCreation {
    int code = 0;
    std::string message;
};

PeakCreation CreatePeakFile(const PeakTask& task, const PartialFile& output, PeakMode mode,
                            Progress& progress) {
    PeakCreation created;
    try {
        const ReadObserver observer([&progress](long long frames) {
            progress.Update(frames);
            return !Interrupted();
        });
        created.code = PeakFile::Create(task.asset, WidePath(output.OpenPath()), EngineMode(mode));
        created.message = observer.Failure();
    } catch (const zrh::media::ZRMediaException& error) {
        if (!Interrupted()) RefuseMedia(MediaPath(task), error.Code());
    }
    return created;
}

}  // namespace

PeakTask PeakTaskFor(const std::shared_ptr<project::MediaManager>& manager, const std::string& path,
                     const SoundChoice& choice) {
    RequireMediaFile(path);
    zrh::media::MediaFilePtr file;
    const int code = zrh::media::OpenMediaFile(WidePath(path), &file);
    if (code != 0) RefuseMedia(path, code);
    const SoundChoice sound = ResolvedSound(path, *file, choice);
    const auto stream = zrh::media::FindAudioStream(*file, sound.Number());

    PeakTask task;
    task.rate = std::max(stream->SampleRate(), 0);
    task.channels = stream->ChannelCount();
    task.frames = std::max(stream->SampleCount(), 0LL);
    task.asset = std::make_shared<MediaAsset>(manager, WidePath(path));
    task.asset->SetAudioStream(std::make_unique<MediaAudioStream>(
        task.rate, task.frames, zrh::media::ZRAudioCodec::Unknown));
    task.asset->SetAudioStreamIndex(sound.Number());
    return task;
}

bool HasTooManyChannels(const PeakTask& task) {
    return task.channels > PeakFile::MAX_CHANNELS;
}

void FindOrMakePeakFiles(const EngineSession& session, std::vector<PeakTask>& tasks,
                         const PeakSettings& settings, Progress& progress) {
    PeakTasks work(session, tasks);
    CacheFileRun run;
    run.step = STEP;
    run.unfinished = "not all peak files are made";
    run.current = settings.current;
    run.jobs = settings.jobs;
    RunCacheFileTasks(session, work, run, progress);
}

void WritePeakFile(const PeakTask& task, const PartialFile& output, PeakMode mode,
                   const std::string& wanted, Progress& progress) {
    const std::string channels = ChannelErrorMessage(task);
    if (!channels.empty()) {
        throw JobError(CreationFailureClause(task) + ": " + channels);
    }
    output.RequireSpace(BytesOf(task, task.frames));
    progress.SetFile(MediaPath(task));
    progress.Begin(STEP, "samples", task.frames, task.rate);
    auto [code, message] = CreatePeakFile(task, output, mode, progress);
    if (Interrupted()) ThrowInterrupted("nothing was written to " + Quoted(wanted));
    if (IsAboutOutput(code)) ThrowWriteError(output.Label(), 0);
    if (code != 0) {
        if (message.empty()) output.RequireSpace(BytesOf(task, task.frames));
        if (message.empty()) message = SoundErrorMessage(task);
        throw JobError(CreationFailureClause(task) + ": " +
                       (message.empty() ? "its sound cannot be read, or " + Quoted(output.Label()) +
                                              " cannot be written"
                                        : message));
    }
    progress.End();
}

}  // namespace orlo::host
