// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/base/Export.h"
#include "sonrel/database/MediaDB.h"
#include "sonrel/playback/PlaybackEngine.h"

namespace orlo::project {
class LogFile;
}  // namespace orlo::project

namespace orlo::sonrel {

class AudioMixer;
struct SonrelImpl;

/// The object that a host creates: two places on disk, the mixer and, on demand, playback.
///
/// Releasing the last reference deletes the cache files that were not used for DaysToKeepCacheFiles
/// days, which may take time. Before that, the host stops its use of the mixer and drops every
/// reference to a PlaybackEngine.
///
/// Threads: the const operations from any thread; the others on one host thread, while nothing
/// plays.
class SONREL_EXPORT Sonrel {
public:
    /// Whether the engine keeps a log of the errors in its caches. Any value except WriteErrorLog
    /// means no log.
    enum class LogOption : int { WriteErrorLog = 0, NoErrorLog = 1 };

    /// Makes an engine. When either path is empty, it has no database, no cache and no log, and
    /// does not access the disk.
    /// @param databasePath     the media database file, created when missing; its folder is not
    ///                         created. The log is CacheErrorLog.txt in the same folder. With our
    ///                         media library the file may also be a server file, which names a
    ///                         database on a server (sonrel/database/DatabaseServer.h)
    /// @param cacheFolderPath  the media cache folder, created with its parents when missing
    /// @param error            receives the text of a failure; may be null
    /// @return the engine; empty on failure
    static std::shared_ptr<Sonrel> Create(const std::wstring& databasePath,
                                          const std::wstring& cacheFolderPath, std::string* error,
                                          LogOption logOption);

    /// Runs ClearCacheFiles and ignores its failures.
    ~Sonrel();
    Sonrel(const Sonrel&) = delete;
    Sonrel& operator=(const Sonrel&) = delete;

    /// Never empty.
    const std::shared_ptr<AudioMixer>& Mixer() const;

    /// Makes a playback engine, on the sound device or on the output of SetAudioOutputFactory. The
    /// former engine is released first: unless the host holds it too, its playback ends and its
    /// device closes.
    /// @return NoError; AudioLibraryLoadFailed or AudioEngineCreateFailed, and Playback() is empty
    PlaybackEngine::Err InitializePlaybackEngine();
    /// The playback engine; empty until InitializePlaybackEngine has succeeded.
    const std::shared_ptr<PlaybackEngine>& Playback() const;
    /// Makes the playback engine, if it exists, forget its target: it is not set up any more. Does
    /// not stop a run, which continues with its queue: a host stops it before.
    void ResetPlaybackEngine();

    /// The status that the database reported when the engine was created; 0 without a database. The
    /// value does not change later.
    project::MediaDB::DatabaseStatus MediaDatabaseStatus() const;
    /// Absolute; empty without a cache.
    const std::wstring& MediaCacheFolderPath() const;
    /// The log, or an empty pointer.
    const std::shared_ptr<project::LogFile>& MediaCacheErrorLog() const;

    /// The age limit of ClearCacheFiles in days; 30 on a new engine.
    int DaysToKeepCacheFiles() const;
    /// Stores the limit unchanged. 0 and negative numbers keep nothing.
    void SetDaysToKeepCacheFiles(int days);

    /// A new connection that belongs to the caller; empty without a database or when it cannot be
    /// opened.
    std::shared_ptr<project::MediaDB> OpenMediaDatabaseConnection() const;

    /// Deletes the cache files whose records were not used for DaysToKeepCacheFiles days, and then
    /// the records. A file that cannot be deleted keeps its record, for the next run, and writes
    /// one line to the log.
    /// @return the records that were due, including the records of undeletable files
    /// @throws the std::exceptions of the database; completed deletions remain
    unsigned long long ClearCacheFiles();

private:
    Sonrel(const std::wstring& databasePath, const std::wstring& cacheFolderPath,
           LogOption logOption);

    std::unique_ptr<SonrelImpl> impl_;
};

}  // namespace orlo::sonrel
