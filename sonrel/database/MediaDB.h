// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRList.h"

namespace orlo::project {

struct MediaDBImpl;

/// A connection to the media database, which records the cache files of media files. The database
/// is a file or, for several machines, on a PostgreSQL server.
///
/// A record is found by its whole key: media path, media fingerprint, stream index and, for
/// conformed files, sample rate; keys are case-sensitive. Its value is the name of the cache file
/// without a path. A stored name that is not a file name ("..", a name with a slash or a backslash,
/// a name longer than 255 bytes) is read as empty, so that no record leads out of the cache folder.
/// The name of a conformed file that does not end in ".xwmc", or of a peak file that does not end
/// in ".xwpk", is read as empty too, so that no record leads to a file of another kind.
///
/// Threads: one thread at a time on one connection. Any number of connections, in any number of
/// processes, may be open on one database.
///
/// Errors: every operation may throw `std::runtime_error` with the message of the database and the
/// name of the file or server, also when the database is locked for longer than five seconds. After
/// the connection to a server was lost, every operation fails: open another connection.
class SONREL_EXPORT MediaDB {
public:
    /// The state of the database when it was opened. Only 0 has a meaning for the engine.
    enum DatabaseStatus : int {
        None = 0,      ///< no usable database
        Ready = 1,     ///< an existing database was opened
        Created = 2,   ///< the database was created
        Migrated = 3,  ///< the database had an older schema and was upgraded
    };

    struct ConformedFile {
        std::wstring mediaPath;         ///< full path of the media file
        std::wstring mediaFingerprint;  ///< the state of the media file
        int streamIndex = 0;            ///< among the audio streams
        int sampleRate = 0;             ///< hertz
        std::wstring cacheFilename;     ///< without a path
    };                                  ///< the record of a conformed file

    struct PeakFile {
        std::wstring mediaPath;         ///< full path of the media file
        std::wstring mediaFingerprint;  ///< the state of the media file
        int streamIndex = 0;            ///< among the audio streams
        std::wstring cacheFilename;     ///< without a path
    };                                  ///< the record of a peak file

    struct VFRCacheFile {
        std::wstring mediaPath;         ///< full path of the media file
        std::wstring mediaFingerprint;  ///< the state of the media file
        int streamIndex = 0;            ///< among the video streams
        std::wstring cacheFilename;     ///< without a path
    };                                  ///< the record of a file of frame times

    using ConformedFileList = ZRList<ConformedFile, ZRListItemDelegate::Null>;  ///< records
    using PeakFileList = ZRList<PeakFile, ZRListItemDelegate::Null>;            ///< records
    using VFRCacheFileList = ZRList<VFRCacheFile, ZRListItemDelegate::Null>;    ///< records

    /// Opens the database.
    /// @param databasePath      the file of the database, or a server file (DatabaseServer.h); its
    ///                          folder must exist
    /// @param cacheFolderPath   for a database on a server, the folder that all machines share. The
    ///                          first connection marks it with a file, and a folder without that
    ///                          mark is refused; an empty path is not checked. Not used for a
    ///                          database in a file: records contain names without a path
    /// @param createAndMigrate  true creates a missing database, upgrades an older schema and
    ///                          refuses a read-only file; false opens only an existing database of
    ///                          the current schema
    /// @throws std::runtime_error when the database cannot be opened, is damaged, belongs to
    ///         another program or has a newer schema; such a file is not changed. Damage that is
    ///         found later is reported by the operation that finds it
    MediaDB(std::wstring const& databasePath, std::wstring const& cacheFolderPath,
            bool createAndMigrate);
    ~MediaDB();
    MediaDB(const MediaDB&) = delete;
    MediaDB& operator=(const MediaDB&) = delete;

    DatabaseStatus Status() const;  ///< the state when it was opened

    /// Locks a name for all connections to the database, on all machines. Waits while another
    /// connection has the lock. A connection that is closed, or whose process ends, releases its
    /// locks at once; a connection to a machine that disappears, within 30 seconds.
    ///
    /// The engine holds the lock of a media path while it makes a cache file.
    /// @return false for a database in a file, which is used on one machine and has no such locks
    bool LockForAll(std::wstring const& name);
    /// Releases a lock of this connection.
    void UnlockForAll(std::wstring const& name);

    /// Joins a cache folder and a file name with one slash.
    static std::wstring CreateMediaCacheFilePath(std::wstring const& cacheFolder,
                                                 std::wstring const& fileName);

    /// @param fileName  receives the file name, which may be empty; unchanged without a record
    /// @return whether a record exists
    bool GetConformedFilename(std::wstring const& mediaPath, std::wstring const& fingerprint,
                              int streamIndex, int sampleRate, std::wstring* fileName) const;
    /// Registers a file as used now.
    /// @throws std::runtime_error also when a record of that key exists
    void AddConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                          int streamIndex, int sampleRate, std::wstring const& fileName);
    /// Registers a file as used now and replaces the file of a record of that key. Every other
    /// connection finds either the old name or the new name.
    ///
    /// The old file keeps a record with its checksum, with the fingerprint ReplacedFingerprint and
    /// the last use in 1970, so that it is found as unused until it is removed.
    /// @param checksum  of the new file, stored in the record
    /// @return the cache file name that the record had; empty without a record
    std::wstring ReplaceConformedFile(std::wstring const& mediaPath,
                                      std::wstring const& fingerprint, int streamIndex,
                                      int sampleRate, std::wstring const& fileName,
                                      std::optional<std::uint64_t> checksum = {});
    /// As AddConformedFile above; the record contains the checksum of the file as well.
    void AddConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                          int streamIndex, int sampleRate, std::wstring const& fileName,
                          std::uint64_t checksum);
    /// The fingerprint in the record of a file that was replaced. No media file has it.
    static std::wstring ReplacedFingerprint(std::wstring const& fileName);
    /// Stamps a record as used now. @return whether the record exists
    bool TouchConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                            int streamIndex, int sampleRate);
    /// Removes a record if it still has the cache file name that this connection read or added last
    /// for the key: a record that another connection made since then is kept. For a key that this
    /// connection neither read nor added, removes the record with any name.
    /// @return whether a record was removed
    bool RemoveConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                             int streamIndex, int sampleRate);
    /// Records last used @p days days of 24 hours ago or earlier, the longest unused first; 0 and
    /// negative numbers find all. A record with a time stamp in the future, after the clock was set
    /// back, counts as used now.
    ConformedFileList FindUnusedConformedFiles(int days) const;
    /// Runs @p work if a record that was found unused is still unused and still has its cache file
    /// name, in one write transaction: no other connection of any process stamps, replaces or
    /// removes the record during the work. A stamp comes either before, and the work does not run,
    /// or after it.
    /// @param record  from FindUnusedConformedFiles
    /// @param days    as in that call
    /// @param work    may remove the record through this connection
    /// @return whether the work ran
    /// @throws std::runtime_error, and the exceptions of the work: the database is then unchanged
    bool IfStillUnused(ConformedFile const& record, int days, std::function<void()> const& work);
    /// @{
    bool GetPeakFilename(std::wstring const& mediaPath, std::wstring const& fingerprint,
                         int streamIndex, std::wstring* fileName) const;  ///< as above
    void AddPeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                     int streamIndex, std::wstring const& fileName);
    std::wstring ReplacePeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                                 int streamIndex, std::wstring const& fileName,
                                 std::optional<std::uint64_t> checksum = {});
    void AddPeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                     int streamIndex, std::wstring const& fileName, std::uint64_t checksum);
    bool TouchPeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                       int streamIndex);
    bool RemovePeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                        int streamIndex);
    PeakFileList FindUnusedPeakFiles(int days) const;
    bool IfStillUnused(PeakFile const& record, int days, std::function<void()> const& work);

    void AddVFRCacheFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                         int streamIndex, std::wstring const& fileName);
    bool RemoveVFRCacheFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                            int streamIndex);
    VFRCacheFileList FindUnusedVFRCacheFiles(int days) const;
    bool IfStillUnused(VFRCacheFile const& record, int days, std::function<void()> const& work);
    /// @}
private:
    std::unique_ptr<MediaDBImpl> impl_;
};

}  // namespace orlo::project
