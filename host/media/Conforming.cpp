// SPDX-License-Identifier: MIT
#include "host/media/Conforming.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <exception>
#include <mutex>
#include <new>
#include <optional>
#include <thread>

#include "host/media/DatabaseErrorMessage.h"
#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "sonrel/base/Paths.h"
#include "sonrel/base/StereoFrame.h"
#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/conformed/ConformedAudioFile.h"
#include "sonrel/database/DatabaseObserver.h"
#include "sonrel/media/ConversionObserver.h"
#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/input/InterruptScope.h"

namespace orlo::host {

namespace {

using project::MediaAsset;
using project::MediaDB;
namespace helper = sonrel::ConformedAudioFileHelper;

constexpr long long BYTES_PER_FRAME = zrtl::FRAME_BYTES;

std::string MediaPath(const MediaAsset& asset) {
    return zrtl::ToUtf8(asset.IsMerged() ? asset.MergedAudioFilename() : asset.Filename());
}

/// Counts the converted frames of all tasks over all jobs.
class ConformProgress {
public:
    ConformProgress(const std::vector<ConformTask>& tasks, Progress& progress)
        : progress_(progress) {
        long long total = 0;
        for (const ConformTask& task : tasks) total += Frames(task);
        progress_.Begin("conform", "samples", total);
    }

    static long long Frames(const ConformTask& task) {
        return std::max(0LL, task.asset->AudioStream()->NativeSampleCount());
    }

    void Add(long long frames) { progress_.Update(done_ += frames); }

private:
    Progress& progress_;
    std::atomic<long long> done_{0};
};

/// Size of the conformed file of a task, calculated from the declared length of its stream.
long long ExpectedBytes(const ConformTask& task) {
    const auto frames = static_cast<double>(ConformProgress::Frames(task));
    const int nativeRate = task.asset->AudioStream()->NativeSampleRate();
    const double bytes =
        frames * task.rate / std::max(1, nativeRate) * static_cast<double>(BYTES_PER_FRAME);
    return static_cast<long long>(std::min(bytes, 1e18));
}

/// The reason why a conversion produced no file, as far as it can be determined afterwards.
/// @param conversionFailure  failure reported by the media library; may be empty
/// @param databaseFailure    failure reported by the database; may be empty
std::string FailureReason(const EngineSession& session, const ConformTask& task,
                          const std::string& conversionFailure,
                          const std::string& databaseFailure) {
    if (conversionFailure.empty() && !databaseFailure.empty()) {
        return DatabaseErrorMessage(session.Paths().database, databaseFailure);
    }
    const std::string media = MediaPath(*task.asset);
    std::string reason = FolderErrorMessage(session.Paths().folder, ExpectedBytes(task));
    if (!reason.empty()) return reason;
    zrh::media::MediaInfo info;
    if (zrh::media::DescribeMedia(WidePath(media), &info, &reason) != 0) return reason;
    return conversionFailure.empty() ? "its sound could not be converted or recorded"
                                     : conversionFailure;
}

bool CanRead(const project::ConformedAudioFile& file, long long sample) {
    unsigned char frame[BYTES_PER_FRAME];
    int read = 0;
    return file.GetSamples(sample, 1, frame, sizeof(frame), &read) == 0;
}

/// The reason why the conformed file of a task is unusable, as a clause; empty when it is usable.
/// Reads only the first and the last sample.
std::string ConformedFileErrorMessage(const ConformTask& task) {
    const auto clause = [&](const char* otherwise) {
        return "its conformed file " + Quoted(task.path) +
               " cannot be read: " + (errno != 0 ? std::strerror(errno) : otherwise);
    };
    const long long samples = task.asset->AudioStream()->ConformedSampleCount();
    project::ConformedAudioFile file;
    errno = 0;
    if (!file.Open(WidePath(task.path))) return clause("it is not a complete conformed file");
    errno = 0;
    if (file.SampleRate() != task.rate) return clause("it has another sample rate");
    if (file.SampleCount() != samples) return clause("it could not be opened before; try again");
    if (samples == 0) return {};
    const bool canRead = CanRead(file, 0) && CanRead(file, samples - 1);
    return canRead ? std::string() : clause("it was truncated");
}

/// Runs tasks on one thread.
class Job {
public:
    Job(const EngineSession& session, const ConformSettings& settings, ConformProgress& progress)
        : session_(session),
          settings_(settings),
          progress_(progress),
          database_(session.Connect()) {}

    void Run(ConformTask& task) {
        long long counted = 0;
        bool converting = false;
        std::string diskMessage;
        const zrh::media::ConversionObserver observer([&](long long done, long long) {
            if (!converting) {
                diskMessage = FolderErrorMessage(session_.Paths().folder, ExpectedBytes(task));
            }
            converting = true;
            progress_.Add(done - counted);
            counted = done;
            return diskMessage.empty() && !Interrupted();
        });
        if (settings_.force) {
            RunForced(task);
        } else {
            FindOrMake(task, &converting);
        }
        std::string message = AttachWhole(task);
        progress_.Add(ConformProgress::Frames(task) - counted);
        if (Interrupted() && task.path.empty()) return;
        if (task.path.empty()) {
            message = diskMessage.empty()
                          ? FailureReason(session_, task, observer.Failure(), failures_->Failure())
                          : diskMessage;
        }
        Finish(task, converting, message);
    }

private:
    /// @param converting  false when the file was only looked up in the database
    void FindOrMake(ConformTask& task, bool* converting) {
        for (int attempt = 1; attempt < MAX_RECORD_ATTEMPTS; ++attempt) {
            *converting = false;
            Ask(task, helper::CreateConformedAudioFile);
            const bool lostRace = task.path.empty() && failures_->WasRecordedElsewhere();
            if (!lostRace || Interrupted()) return;
        }
        RunForced(task);
    }

    void RunForced(ConformTask& task) { Ask(task, helper::RemakeConformedAudioFile); }

    template <class Operation>
    void Ask(ConformTask& task, Operation operation) {
        failures_.emplace();
        task.path = zrtl::ToUtf8(
            operation(task.asset, task.rate, session_.Engine()->MediaCacheFolderPath(),
                      session_.Engine()->MediaCacheErrorLog(), database_, settings_.allCodecs));
    }

    /// Sets the file on the asset's stream.
    /// @return the reason why the file cannot be read, as a clause; empty when it can, and without
    ///         a file
    static std::string Attach(const ConformTask& task) {
        helper::SetAudioSamplesAvailable(task.asset, task.rate, WidePath(task.path));
        if (task.path.empty()) return {};
        return ConformedFileErrorMessage(task);
    }

    /// Like Attach, and recreates a broken file once.
    std::string AttachWhole(ConformTask& task) {
        std::string message = Attach(task);
        if (message.empty() || settings_.force || Interrupted()) return message;
        RunForced(task);
        return Attach(task);
    }

    /// @param message  a clause; empty when the file was made or found and can be read
    static void Finish(ConformTask& task, bool converted, const std::string& message) {
        task.status = converted ? ConformTask::Status::Made : ConformTask::Status::Found;
        if (message.empty()) return;
        task.path.clear();
        task.status = ConformTask::Status::Failed;
        task.error = "cannot conform " + Quoted(MediaPath(*task.asset)) + ": " + message;
    }

    const EngineSession& session_;
    const ConformSettings& settings_;
    ConformProgress& progress_;
    std::shared_ptr<MediaDB> database_;
    std::optional<project::DatabaseObserver> failures_;  // of the last attempt
};

/// Distributes the tasks to the jobs and stores the first exception.
class TaskQueue {
public:
    TaskQueue(const EngineSession& session, std::vector<ConformTask>& tasks,
              const ConformSettings& settings, Progress& progress)
        : session_(session), tasks_(tasks), settings_(settings), progress_(tasks, progress) {}

    /// Runs tasks until none is left. Called on the thread of each job.
    void Work() {
        try {
            const zrh::media::InterruptScope stopMedia(Interrupted);
            Job job(session_, settings_, progress_);
            while (!Interrupted() && !failed_) {
                const std::size_t index = next_++;
                if (index >= tasks_.size()) return;
                job.Run(tasks_[index]);
            }
        } catch (...) {
            const std::lock_guard lock(mutex_);
            if (!failure_) failure_ = std::current_exception();
            failed_ = true;
        }
    }

    void RethrowFailure() const {
        if (failure_) std::rethrow_exception(failure_);
    }

private:
    const EngineSession& session_;
    std::vector<ConformTask>& tasks_;
    const ConformSettings& settings_;
    ConformProgress progress_;
    std::atomic<std::size_t> next_{0};
    std::atomic<bool> failed_{false};
    std::mutex mutex_;
    std::exception_ptr failure_;
};

}  // namespace

void Conform(const EngineSession& session, std::vector<ConformTask>& tasks,
             const ConformSettings& settings, Progress& progress) {
    if (tasks.empty()) return;
    TaskQueue queue(session, tasks, settings, progress);
    const std::size_t jobs = std::min(tasks.size(), static_cast<std::size_t>(settings.jobs));
    {
        std::vector<std::jthread> helpers;
        for (std::size_t i = 1; i < jobs; ++i) helpers.emplace_back([&queue] { queue.Work(); });
        queue.Work();
    }
    if (Interrupted()) ThrowInterrupted("not all media files are conformed");
    try {
        queue.RethrowFailure();
    } catch (const CommandError&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        throw JobError(DatabaseErrorMessage(session.Paths().database, error.what()));
    }
    progress.End();
}

}  // namespace orlo::host
