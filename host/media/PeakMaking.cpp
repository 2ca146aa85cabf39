// SPDX-License-Identifier: MIT
#include "host/media/PeakMaking.h"

#include <algorithm>
#include <exception>
#include <new>
#include <optional>

#include "host/media/DatabaseErrorMessage.h"
#include "host/output/OutputTarget.h"
#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Paths.h"
#include "host/shell/SystemLimits.h"
#include "host/shell/Text.h"
#include "host/timeline/Input.h"
#include "sonrel/base/Paths.h"
#include "sonrel/cache/CacheFileCheck.h"
#include "sonrel/cache/PeakFile.h"
#include "sonrel/cache/WaveformPeakFileHelper.h"
#include "sonrel/database/DatabaseObserver.h"
#include "sonrel/media.h"
#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/input/MediaErrors.h"
#include "sonrel/media/input/ReadObserver.h"

namespace orlo::host {

namespace {

using project::MediaAsset;
using project::MediaAudioStream;
using project::MediaDB;
using sonrel::PeakFile;
using zrh::media::MediaError;
using zrh::media::ReadObserver;
using zrh::media::ZRAbstractAudioStream;
using zrh::media::ZRAbstractMediaFile;
namespace helper = sonrel::WaveformPeakFileHelper;

constexpr int MAX_CHANNELS = 16;
constexpr int FRAMES_PER_BLOCK = 32;
constexpr double HEADER_BYTES = 20.0;

std::string MediaPath(const PeakTask& task) {
    return zrtl::ToUtf8(task.asset->Filename());
}

/// Upper limit of the size of a peak file with @p frames frames. A container may declare any number
/// of channels.
long long BytesOf(const PeakTask& task, long long frames) {
    const double blocks = static_cast<double>(frames) / FRAMES_PER_BLOCK + 1.0;
    const double bytes = blocks * (1.0 + 2.0 * task.channels);
    return static_cast<long long>(HEADER_BYTES + std::min(bytes, 1e18));
}

/// The reason why a peak file cannot store the channels of a task; empty when it can.
std::string ChannelErrorMessage(const PeakTask& task) {
    if (task.channels <= MAX_CHANNELS) return {};
    return "its sound has " + std::to_string(task.channels) +
           " channels, and a peak file has at most " + std::to_string(MAX_CHANNELS);
}

/// The audio stream with this index; null when the file has no such stream.
std::shared_ptr<ZRAbstractAudioStream> FindAudioStream(ZRAbstractMediaFile& file, int index) {
    for (const auto& stream : file.Streams()) {
        if (stream->StreamType() == 0 && index-- == 0) return stream;
    }
    return nullptr;
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
    unsigned long long index = task.asset->AudioStreamIndex();
    for (const zrh::media::MediaStreamInfo& stream : info.streams) {
        if (stream.kind == zrh::media::MediaStreamKind::Audio && index-- == 0) {
            return stream.sampleCount;
        }
    }
    return 0;
}

/// Counts the frames that are read for all tasks, one after the other, as one progress step.
class ReadProgress {
public:
    ReadProgress(const std::vector<PeakTask>& tasks, Progress& progress) : progress_(progress) {
        long long total = 0;
        for (const PeakTask& task : tasks) total += task.frames;
        progress_.Begin("peaks", "samples", total);
    }

    /// Returns the observer of the next task.
    ReadObserver::Function Follow() {
        reading_ = false;
        return [this](long long frames) {
            reading_ = true;
            progress_.Update(done_ + frames);
            return !Interrupted();
        };
    }
    /// Counts a task as read.
    void Finish(const PeakTask& task) { done_ += task.frames; }
    /// Whether the current task has read any frames.
    bool WasRead() const { return reading_; }

private:
    Progress& progress_;
    long long done_ = 0;    // frames of the previous tasks
    bool reading_ = false;  // set under the observer's lock, read when the readers have ended
};

class CacheMaker {
public:
    CacheMaker(const EngineSession& session, ReadProgress& progress, CurrentFiles current)
        : session_(session),
          progress_(progress),
          recreates_(current == CurrentFiles::Recreated),
          database_(session.Connect()) {}

    void Run(PeakTask& task) {
        std::string path = recreates_ ? Remake(task) : FindOrMake(task);
        bool made = recreates_ || progress_.WasRead();
        if (!path.empty() && !made && IsBroken(path, task)) {
            path = Remake(task);
            made = true;
        }
        if (path.empty() && Interrupted()) return;
        if (path.empty()) {
            task.result.error = "cannot create the peak file of " + Quoted(MediaPath(task)) + ": " +
                                FailureReason(task, failures_->Failure());
        } else {
            task.result = {made ? FileStatus::Made : FileStatus::Found, path, {}};
        }
    }

private:
    std::string FindOrMake(const PeakTask& task) {
        for (int attempt = 1; attempt < MAX_RECORD_ATTEMPTS; ++attempt) {
            std::string path = Ask(task, helper::CreateWaveformPeakFile);
            const bool lostRace = path.empty() && failures_->WasRecordedElsewhere();
            if (!lostRace || Interrupted()) return path;
        }
        return Remake(task);
    }

    std::string Remake(const PeakTask& task) { return Ask(task, helper::RemakeWaveformPeakFile); }

    template <class Operation>
    std::string Ask(const PeakTask& task, Operation operation) {
        std::string path = AskFor(task, task.frames, operation);
        if (spaceMessage_.empty() || Interrupted()) return path;
        const long long frames = ExactFrames(task);
        return frames == task.frames ? path : AskFor(task, frames, operation);
    }

    template <class Operation>
    std::string AskFor(const PeakTask& task, long long frames, Operation operation) {
        failures_.emplace();
        const ReadObserver observer(FollowFrom(BytesOf(task, frames)));
        const std::wstring path =
            operation(task.asset, session_.Engine()->MediaCacheFolderPath(),
                      session_.Engine()->MediaCacheErrorLog(), database_, true);
        readFailure_ = observer.Failure();
        return zrtl::ToUtf8(path);
    }

    /// Checks the free disk space before the first samples are read.
    ReadObserver::Function FollowFrom(long long bytes) {
        spaceMessage_.clear();
        return [this, bytes, follow = progress_.Follow()](long long frames) {
            if (!progress_.WasRead()) {
                spaceMessage_ = FolderErrorMessage(session_.Paths().folder, bytes);
            }
            return follow(frames) && spaceMessage_.empty();
        };
    }

    static bool IsBroken(const std::string& path, const PeakTask& task) {
        return !sonrel::CacheFileCheck::IsWholePeakFile(WidePath(path), task.channels);
    }

    /// @param databaseFailure  failure reported by the database; may be empty
    std::string FailureReason(const PeakTask& task, const std::string& databaseFailure) const {
        std::string message = spaceMessage_;
        if (message.empty()) message = readFailure_;
        if (message.empty()) message = ChannelErrorMessage(task);
        if (message.empty() && !databaseFailure.empty()) {
            message = DatabaseErrorMessage(session_.Paths().database, databaseFailure);
        }
        if (message.empty())
            message = FolderErrorMessage(session_.Paths().folder, BytesOf(task, task.frames));
        if (message.empty()) message = SoundErrorMessage(task);
        if (message.empty()) message = DescriptorErrorMessage();
        return message.empty() ? "its sound could not be read or recorded" : message;
    }

    const EngineSession& session_;
    ReadProgress& progress_;
    bool recreates_;
    std::shared_ptr<MediaDB> database_;
    std::string spaceMessage_;  ///< clause about the cache folder, from the last attempt
    std::string readFailure_;   ///< clause about the media file, from the last attempt
    std::optional<project::DatabaseObserver> failures_;  ///< of the last attempt
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
    return code == -11 || code == -12 || code <= -201 || (code <= -31 && code >= -33);
}

}  // namespace

PeakTask PeakTaskFor(const std::shared_ptr<project::MediaManager>& manager, const std::string& path,
                     int stream) {
    RequireMediaFile(path);
    ZRAbstractMediaFile* opened = nullptr;
    const int code = zrh::media::ZRMediaFileCreate(WidePath(path).c_str(), &opened,
                                                   zrh::media::ZRMediaReaderType::Default);
    if (code != 0) RefuseMedia(path, code);
    const std::unique_ptr<ZRAbstractMediaFile, int (*)(ZRAbstractMediaFile*)> file(
        opened, &zrh::media::ZRMediaFileRelease);
    const auto sound = FindAudioStream(*file, stream);
    if (sound == nullptr && stream > 0) RefuseMedia(path, static_cast<int>(MediaError::NotAudio));
    if (sound == nullptr) throw JobError("cannot use " + Quoted(path) + ": it has no sound");

    PeakTask task;
    task.rate = std::max(sound->SampleRate(), 0);
    task.channels = sound->ChannelCount();
    task.frames = std::max(sound->SampleCount(), 0LL);
    task.asset = std::make_shared<MediaAsset>(manager, WidePath(path));
    task.asset->SetAudioStream(std::make_unique<MediaAudioStream>(
        task.rate, task.frames, zrh::media::ZRAudioCodec::Unknown));
    task.asset->SetAudioStreamIndex(static_cast<unsigned long long>(stream));
    return task;
}

void FindOrMakePeakFiles(const EngineSession& session, std::vector<PeakTask>& tasks,
                         Progress& progress, CurrentFiles current) {
    if (tasks.empty()) return;
    ReadProgress read(tasks, progress);
    try {
        CacheMaker maker(session, read, current);
        for (PeakTask& task : tasks) {
            maker.Run(task);
            read.Finish(task);
            if (Interrupted()) ThrowInterrupted("not all peak files are made");
        }
    } catch (const CommandError&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        throw JobError(DatabaseErrorMessage(session.Paths().database, error.what()));
    }
    progress.End();
}

void WritePeakFile(const PeakTask& task, const PartialFile& output, PeakMode mode,
                   const std::string& wanted, Progress& progress) {
    const std::string channels = ChannelErrorMessage(task);
    if (!channels.empty()) {
        throw JobError("cannot create the peak file of " + Quoted(MediaPath(task)) + ": " +
                       channels);
    }
    output.RequireSpace(BytesOf(task, task.frames));
    ReadProgress read({task}, progress);
    int code = 0;
    std::string message;
    try {
        const ReadObserver observer(read.Follow());
        code = PeakFile::Create(task.asset, WidePath(output.OpenPath()), EngineMode(mode));
        message = observer.Failure();
    } catch (const zrh::media::ZRMediaException& error) {
        if (!Interrupted()) RefuseMedia(MediaPath(task), error.Code());
    }
    if (Interrupted()) ThrowInterrupted("nothing was written to " + Quoted(wanted));
    if (IsAboutOutput(code)) ThrowWriteError(output.Label(), 0);
    if (code != 0) {
        if (message.empty()) output.RequireSpace(BytesOf(task, task.frames));
        if (message.empty()) message = SoundErrorMessage(task);
        throw JobError("cannot create the peak file of " + Quoted(MediaPath(task)) + ": " +
                       (message.empty() ? "its sound cannot be read, or " + Quoted(output.Label()) +
                                              " cannot be written"
                                        : message));
    }
    progress.End();
}

}  // namespace orlo::host
