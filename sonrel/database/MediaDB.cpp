// SPDX-License-Identifier: MIT
#include "sonrel/database/MediaDB.h"

#include <string>

#include "sonrel/database/detail/DatabaseHooks.h"
#include "sonrel/database/detail/DatabaseSchema.h"
#include "sonrel/database/detail/RecordTable.h"
#include "sonrel/database/detail/Sqlite.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::project {

struct MediaDBImpl {
    MediaDBImpl(std::wstring const& path, bool createAndMigrate)
        : connection(path, createAndMigrate ? SqliteConnection::Mode::Create
                                            : SqliteConnection::Mode::Existing),
          status(PrepareDatabaseSchema(
              connection, createAndMigrate ? SchemaWork::Allowed : SchemaWork::Forbidden,
              DatabaseSchemaSteps())),
          conformed(connection, RecordTable::Kind::Conformed),
          peak(connection, RecordTable::Kind::Peak),
          vfr(connection, RecordTable::Kind::Vfr) {}

    SqliteConnection connection;
    MediaDB::DatabaseStatus status;
    RecordTable conformed;
    RecordTable peak;
    RecordTable vfr;
};

MediaDB::MediaDB(std::wstring const& databasePath, std::wstring const&, bool createAndMigrate)
    : impl_(std::make_unique<MediaDBImpl>(databasePath, createAndMigrate)) {
    // The name of a new database becomes as durable as its content, if the folder can be synced.
    if (impl_->status == Created) files::SyncFolderOf(impl_->connection.Path());
}

MediaDB::~MediaDB() = default;

MediaDB::DatabaseStatus MediaDB::Status() const {
    return impl_->status;
}

std::wstring MediaDB::CreateMediaCacheFilePath(std::wstring const& cacheFolder,
                                               std::wstring const& fileName) {
    if (cacheFolder.empty() || cacheFolder.back() == L'/') return cacheFolder + fileName;
    return cacheFolder + L'/' + fileName;
}

bool MediaDB::GetConformedFilename(std::wstring const& mediaPath, std::wstring const& fingerprint,
                                   int streamIndex, int sampleRate, std::wstring* fileName) const {
    return impl_->conformed.Get({mediaPath, fingerprint, streamIndex, sampleRate}, fileName);
}

void MediaDB::AddConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                               int streamIndex, int sampleRate, std::wstring const& fileName) {
    impl_->conformed.Add({mediaPath, fingerprint, streamIndex, sampleRate}, fileName,
                         DatabaseNow());
}

std::wstring MediaDB::ReplaceConformedFile(std::wstring const& mediaPath,
                                           std::wstring const& fingerprint, int streamIndex,
                                           int sampleRate, std::wstring const& fileName,
                                           std::optional<std::uint64_t> checksum) {
    return impl_->conformed.Replace({mediaPath, fingerprint, streamIndex, sampleRate}, fileName,
                                    ReplacedFingerprint, DatabaseNow(), checksum);
}

void MediaDB::AddConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                               int streamIndex, int sampleRate, std::wstring const& fileName,
                               std::uint64_t checksum) {
    impl_->conformed.Add({mediaPath, fingerprint, streamIndex, sampleRate}, fileName, DatabaseNow(),
                         checksum);
}

std::wstring MediaDB::ReplacedFingerprint(std::wstring const& fileName) {
    return L"replaced " + fileName;
}

bool MediaDB::TouchConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                                 int streamIndex, int sampleRate) {
    return impl_->conformed.Touch({mediaPath, fingerprint, streamIndex, sampleRate}, DatabaseNow());
}

bool MediaDB::RemoveConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                                  int streamIndex, int sampleRate) {
    return impl_->conformed.Remove({mediaPath, fingerprint, streamIndex, sampleRate});
}

MediaDB::ConformedFileList MediaDB::FindUnusedConformedFiles(int days) const {
    ConformedFileList list;
    impl_->conformed.FindUnused(days, DatabaseNow(), [&](const SqliteRun& row) {
        list.push_back({row.Text(0), row.Text(1), static_cast<int>(row.Number(2)),
                        static_cast<int>(row.Number(4)), impl_->conformed.NameOf(row, 3)});
    });
    return list;
}

bool MediaDB::IfStillUnused(ConformedFile const& record, int days,
                            std::function<void()> const& work) {
    return impl_->conformed.IfUnused(
        {record.mediaPath, record.mediaFingerprint, record.streamIndex, record.sampleRate},
        record.cacheFilename, days, DatabaseNow(), work);
}

bool MediaDB::GetPeakFilename(std::wstring const& mediaPath, std::wstring const& fingerprint,
                              int streamIndex, std::wstring* fileName) const {
    return impl_->peak.Get({mediaPath, fingerprint, streamIndex}, fileName);
}

void MediaDB::AddPeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                          int streamIndex, std::wstring const& fileName) {
    impl_->peak.Add({mediaPath, fingerprint, streamIndex}, fileName, DatabaseNow());
}

std::wstring MediaDB::ReplacePeakFile(std::wstring const& mediaPath,
                                      std::wstring const& fingerprint, int streamIndex,
                                      std::wstring const& fileName,
                                      std::optional<std::uint64_t> checksum) {
    return impl_->peak.Replace({mediaPath, fingerprint, streamIndex}, fileName, ReplacedFingerprint,
                               DatabaseNow(), checksum);
}

void MediaDB::AddPeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                          int streamIndex, std::wstring const& fileName, std::uint64_t checksum) {
    impl_->peak.Add({mediaPath, fingerprint, streamIndex}, fileName, DatabaseNow(), checksum);
}

bool MediaDB::TouchPeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                            int streamIndex) {
    return impl_->peak.Touch({mediaPath, fingerprint, streamIndex}, DatabaseNow());
}

bool MediaDB::RemovePeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                             int streamIndex) {
    return impl_->peak.Remove({mediaPath, fingerprint, streamIndex});
}

MediaDB::PeakFileList MediaDB::FindUnusedPeakFiles(int days) const {
    PeakFileList list;
    impl_->peak.FindUnused(days, DatabaseNow(), [&](const SqliteRun& row) {
        list.push_back({row.Text(0), row.Text(1), static_cast<int>(row.Number(2)),
                        impl_->peak.NameOf(row, 3)});
    });
    return list;
}

bool MediaDB::IfStillUnused(PeakFile const& record, int days, std::function<void()> const& work) {
    return impl_->peak.IfUnused({record.mediaPath, record.mediaFingerprint, record.streamIndex},
                                record.cacheFilename, days, DatabaseNow(), work);
}

void MediaDB::AddVFRCacheFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                              int streamIndex, std::wstring const& fileName) {
    impl_->vfr.Add({mediaPath, fingerprint, streamIndex}, fileName, DatabaseNow());
}

bool MediaDB::RemoveVFRCacheFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                                 int streamIndex) {
    return impl_->vfr.Remove({mediaPath, fingerprint, streamIndex});
}

MediaDB::VFRCacheFileList MediaDB::FindUnusedVFRCacheFiles(int days) const {
    VFRCacheFileList list;
    impl_->vfr.FindUnused(days, DatabaseNow(), [&](const SqliteRun& row) {
        list.push_back(
            {row.Text(0), row.Text(1), static_cast<int>(row.Number(2)), impl_->vfr.NameOf(row, 3)});
    });
    return list;
}

bool MediaDB::IfStillUnused(VFRCacheFile const& record, int days,
                            std::function<void()> const& work) {
    return impl_->vfr.IfUnused({record.mediaPath, record.mediaFingerprint, record.streamIndex},
                               record.cacheFilename, days, DatabaseNow(), work);
}

}  // namespace orlo::project
