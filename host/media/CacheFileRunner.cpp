// SPDX-License-Identifier: MIT
#include "host/media/CacheFileRunner.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

#include "host/media/DatabaseErrorMessage.h"
#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "sonrel/database/DatabaseObserver.h"
#include "sonrel/media/input/InterruptScope.h"

namespace orlo::host {

namespace {

using project::MediaDB;

/// Maximum number of attempts to find or make a cache file while other programs record the same
/// file first. The last attempt replaces the record, which no other program can prevent.
constexpr int MAX_RECORD_ATTEMPTS = 3;

long long TotalFrames(const CacheFileTasks& tasks) {
    long long total = 0;
    for (std::size_t task = 0; task < tasks.Count(); ++task) total += tasks.Frames(task);
    return total;
}

/// Finds or makes the file of one task.
class TaskRun {
public:
    TaskRun(CacheFileTasks& tasks, std::size_t task, const std::shared_ptr<MediaDB>& database,
            TaskMonitor& monitor)
        : tasks_(tasks), task_(task), database_(database), monitor_(monitor) {}

    void Run(CurrentFiles current) {
        const bool recreates = current == CurrentFiles::Recreated;
        if (recreates) {
            Remake();
        } else {
            FindOrMake();
        }
        std::string fault = Check();
        if (!fault.empty() && !recreates && !Interrupted()) {
            Remake();
            fault = Check();
        }
        monitor_.Finish(tasks_.Frames(task_));
        if (last_.path.empty() && Interrupted()) return;
        if (last_.path.empty()) fault = FailureReason();
        tasks_.Store(task_, ResultWith(fault));
    }

private:
    void FindOrMake() {
        for (int attempt = 1; attempt < MAX_RECORD_ATTEMPTS; ++attempt) {
            const bool lostRace = Attempt(false);
            if (!lostRace || Interrupted()) return;
        }
        Remake();
    }

    void Remake() {
        Attempt(true);
        isRemade_ = true;
    }

    /// @return whether the attempt failed because another program recorded the file first
    bool Attempt(bool remake) {
        const project::DatabaseObserver observer;
        last_ = tasks_.Attempt(task_, remake, database_, monitor_);
        last_.databaseFailure = observer.Failure();
        return last_.path.empty() && observer.WasRecordedElsewhere();
    }

    bool IsMade() const { return isRemade_ || monitor_.HasStarted(); }

    std::string Check() { return tasks_.Check(task_, last_.path, IsMade()); }

    std::string FailureReason() const {
        const std::string& space = monitor_.SpaceMessage();
        return space.empty() ? tasks_.FailureReason(task_, last_) : space;
    }

    FileResult ResultWith(const std::string& fault) const {
        if (fault.empty()) {
            return {IsMade() ? FileStatus::Made : FileStatus::Found, last_.path, {}};
        }
        return {FileStatus::Failed, {}, tasks_.FailureClause(task_) + ": " + fault};
    }

    CacheFileTasks& tasks_;
    const std::size_t task_;
    const std::shared_ptr<MediaDB>& database_;
    TaskMonitor& monitor_;
    CacheFileAttempt last_;
    bool isRemade_ = false;
};

double TotalSeconds(const CacheFileTasks& tasks) {
    double seconds = 0.0;
    for (std::size_t task = 0; task < tasks.Count(); ++task) {
        seconds += static_cast<double>(tasks.Frames(task)) / std::max(1, tasks.Rate(task));
    }
    return seconds;
}

/// Distributes the tasks to the jobs and stores the first exception.
class TaskQueue {
public:
    TaskQueue(const EngineSession& session, CacheFileTasks& tasks, const CacheFileRun& run,
              Progress& progress)
        : session_(session),
          tasks_(tasks),
          current_(run.current),
          interrupted_(InterruptFlag()),
          progress_(progress, run.step, TotalFrames(tasks), TotalSeconds(tasks)) {}

    /// Runs tasks until none is left. Called on the thread of each job.
    void Work() {
        try {
            const InterruptFlagScope flag(interrupted_);
            const zrh::media::InterruptScope stopMedia([this] { return interrupted_->load(); });
            const std::shared_ptr<MediaDB> database = session_.Connect();
            while (!Interrupted() && !failed_) {
                const std::size_t task = next_++;
                if (task >= tasks_.Count()) return;
                progress_.SetFile(tasks_.Media(task));
                TaskMonitor monitor(session_.Paths(), progress_, *interrupted_);
                TaskRun(tasks_, task, database, monitor).Run(current_);
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
    CacheFileTasks& tasks_;
    const CurrentFiles current_;
    std::atomic<bool>* const interrupted_;  // of the command
    TaskProgress progress_;
    std::atomic<std::size_t> next_{0};
    std::atomic<bool> failed_{false};
    std::mutex mutex_;  // guards failure_
    std::exception_ptr failure_;
};

}  // namespace

TaskProgress::TaskProgress(Progress& progress, const std::string& step, long long total,
                           double seconds)
    : progress_(progress) {
    // The files may have different rates. The mean rate gives the right length of all.
    progress_.Begin(step, "samples", total,
                    seconds > 0.0 ? static_cast<double>(total) / seconds : 0.0);
}

void TaskMonitor::Start(long long bytes) {
    bytes_ = bytes;
    started_ = false;
    spaceMessage_.clear();
}

bool TaskMonitor::Report(long long frames) {
    if (!started_) spaceMessage_ = FolderErrorMessage(paths_, bytes_);
    started_ = true;
    progress_.Add(frames - counted_);
    counted_ = frames;
    return spaceMessage_.empty() && !interrupted_;
}

void RunCacheFileTasks(const EngineSession& session, CacheFileTasks& tasks, const CacheFileRun& run,
                       Progress& progress) {
    if (tasks.Count() == 0) return;
    TaskQueue queue(session, tasks, run, progress);
    const std::size_t jobs = std::min(tasks.Count(), static_cast<std::size_t>(run.jobs));
    {
        std::vector<std::jthread> helpers;
        for (std::size_t i = 1; i < jobs; ++i) helpers.emplace_back([&queue] { queue.Work(); });
        queue.Work();
    }
    if (Interrupted()) ThrowInterrupted(run.unfinished);
    try {
        queue.RethrowFailure();
    } catch (const CommandError&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        throw JobError(DatabaseErrorMessage(session.Paths().database, error.what(),
                                            session.Paths().databaseRemedy));
    }
    progress.End();
}

}  // namespace orlo::host
