// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "host/media/EngineSession.h"
#include "host/media/MediaEntries.h"
#include "host/shell/Progress.h"
#include "sonrel/database/MediaDB.h"

namespace orlo::host {

/// The progress of all tasks of a command as one step, in frames of the media files.
///
/// Threads: any may call Add.
class TaskProgress {
public:
    /// @param step     name of the step
    /// @param total    frames of all tasks
    /// @param seconds  length of the sound of all tasks
    TaskProgress(Progress& progress, const std::string& step, long long total, double seconds);

    /// Adds frames; a negative number when work is repeated.
    void Add(long long frames) { progress_.Update(done_ += frames); }
    /// Sets the media file of the current task.
    void SetFile(const std::string& path) { progress_.SetFile(path); }

private:
    Progress& progress_;
    std::atomic<long long> done_{0};
};

/// Monitors the work on one task: reports its progress, and stops it after an interrupt and when
/// its file does not fit on the disk.
///
/// Threads: one call at a time; on the threads that read the media file too.
class TaskMonitor {
public:
    /// @param paths        of the cache
    /// @param interrupted  the flag of the job
    TaskMonitor(CachePaths paths, TaskProgress& progress, const std::atomic<bool>& interrupted)
        : paths_(std::move(paths)), progress_(progress), interrupted_(interrupted) {}

    /// Starts an attempt to make a file.
    /// @param bytes  expected size of the file
    void Start(long long bytes);
    /// Reports the progress of the attempt.
    /// @param frames  frames of the attempt so far
    /// @return whether to continue
    bool Report(long long frames);
    /// Counts the task as complete.
    void Finish(long long frames) { progress_.Add(frames - counted_); }

    /// Whether the last attempt reported progress, and thus did more than look for the file.
    bool HasStarted() const { return started_; }
    /// The reason why the file does not fit in the cache folder, as a clause; empty when it does.
    const std::string& SpaceMessage() const { return spaceMessage_; }

private:
    const CachePaths paths_;
    TaskProgress& progress_;
    const std::atomic<bool>& interrupted_;
    long long bytes_ = 0;
    long long counted_ = 0;
    bool started_ = false;
    std::string spaceMessage_;
};

/// The result of one attempt to find or make a cache file.
struct CacheFileAttempt {
    std::string path;             ///< empty after a failure
    std::string mediaFailure;     ///< reported by the media library, as a clause; may be empty
    std::string databaseFailure;  ///< reported by the media database; may be empty
};

/// The tasks of a command that make cache files of one kind. Tasks have the numbers 0 to Count().
///
/// Threads: operations on different tasks run at the same time.
class CacheFileTasks {
public:
    virtual ~CacheFileTasks() = default;

    virtual std::size_t Count() const = 0;
    /// Declared length of the sound of a task; 0 if unknown.
    virtual long long Frames(std::size_t task) const = 0;
    /// Frames of a task in a second, hertz.
    virtual int Rate(std::size_t task) const = 0;
    /// The path of the media file of a task.
    virtual std::string Media(std::size_t task) const = 0;

    /// Finds or makes the file of a task. Sets the path and the media failure.
    /// @param remake    makes the file even if the cache contains a current file
    /// @param database  connection of this thread; may be empty
    virtual CacheFileAttempt Attempt(std::size_t task, bool remake,
                                     const std::shared_ptr<project::MediaDB>& database,
                                     TaskMonitor& monitor) = 0;
    /// Checks the file of a task before it is used.
    /// @param path    empty after a failed attempt
    /// @param isMade  whether this run has made the file
    /// @return the reason why the file is unusable, as a clause; empty when it is usable, and for
    ///         an empty path
    virtual std::string Check(std::size_t task, const std::string& path, bool isMade) = 0;
    /// The reason why a task has no file, as a clause.
    virtual std::string FailureReason(std::size_t task, const CacheFileAttempt& last) const = 0;
    /// A clause about a task that failed, without the reason: "cannot conform 'a.wav'".
    virtual std::string FailureClause(std::size_t task) const = 0;
    /// Stores the result of a task.
    virtual void Store(std::size_t task, const FileResult& result) = 0;
};

enum class CurrentFiles { Kept, Recreated };

struct CacheFileRun {
    std::string step;        ///< name of the step in the progress output
    std::string unfinished;  ///< for an interrupt, as of ThrowInterrupted
    CurrentFiles current = CurrentFiles::Kept;
    int jobs = 1;  ///< tasks that run at the same time
};

/// Finds or makes the files of all tasks in the cache. Each job has its own database connection.
///
/// When another process records the same file first, that file is used. A broken file is recreated
/// once.
/// @throws JobError when the database fails; CommandError when the program is asked to stop
void RunCacheFileTasks(const EngineSession& session, CacheFileTasks& tasks, const CacheFileRun& run,
                       Progress& progress);

}  // namespace orlo::host
