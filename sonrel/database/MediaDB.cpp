// SPDX-License-Identifier: MIT
#include "sonrel/database/MediaDB.h"

#include <string>

#include "sonrel/database/detail/OpenRecordDatabase.h"
#include "sonrel/database/detail/RecordTable.h"

namespace orlo::project {

struct MediaDBImpl {
    MediaDBImpl(std::wstring const& path, std::wstring const& cacheFolder, bool createAndMigrate)
        : database(OpenRecordDatabase(path, cacheFolder, createAndMigrate, &status)),
          conformed(*database, RecordTable::Kind::Conformed),
          peak(*database, RecordTable::Kind::Peak),
          vfr(*database, RecordTable::Kind::Vfr) {}

    long long Now() const { return database->Now(); }

    MediaDB::DatabaseStatus status = MediaDB::None;
    std::unique_ptr<RecordDatabase> database;
    RecordTable conformed;
    RecordTable peak;
    RecordTable vfr;
};

MediaDB::MediaDB(std::wstring const& databasePath, std::wstring const& cacheFolderPath,
                 bool createAndMigrate)
    : impl_(std::make_unique<MediaDBImpl>(databasePath, cacheFolderPath, createAndMigrate)) {}

MediaDB::~MediaDB() = default;

MediaDB::DatabaseStatus MediaDB::Status() const {
    return impl_->status;
}

bool MediaDB::LockForAll(std::wstring const& name) {
    return impl_->database->LockForAll(name);
}

void MediaDB::UnlockForAll(std::wstring const& name) {
    impl_->database->UnlockForAll(name);
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
    impl_->conformed.Add({mediaPath, fingerprint, streamIndex, sampleRate}, fileName, impl_->Now());
}

std::wstring MediaDB::ReplaceConformedFile(std::wstring const& mediaPath,
                                           std::wstring const& fingerprint, int streamIndex,
                                           int sampleRate, std::wstring const& fileName,
                                           std::optional<std::uint64_t> checksum) {
    return impl_->conformed.Replace({mediaPath, fingerprint, streamIndex, sampleRate}, fileName,
                                    ReplacedFingerprint, impl_->Now(), checksum);
}

void MediaDB::AddConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                               int streamIndex, int sampleRate, std::wstring const& fileName,
                               std::uint64_t checksum) {
    impl_->conformed.Add({mediaPath, fingerprint, streamIndex, sampleRate}, fileName, impl_->Now(),
                         checksum);
}

std::wstring MediaDB::ReplacedFingerprint(std::wstring const& fileName) {
    return L"replaced " + fileName;
}

bool MediaDB::TouchConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                                 int streamIndex, int sampleRate) {
    return impl_->conformed.Touch({mediaPath, fingerprint, streamIndex, sampleRate}, impl_->Now());
}

bool MediaDB::RemoveConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                                  int streamIndex, int sampleRate) {
    return impl_->conformed.Remove({mediaPath, fingerprint, streamIndex, sampleRate});
}

MediaDB::ConformedFileList MediaDB::FindUnusedConformedFiles(int days) const {
    ConformedFileList list;
    impl_->conformed.FindUnused(days, impl_->Now(), [&](const StatementRun& row) {
        list.push_back({row.Text(0), row.Text(1), static_cast<int>(row.Number(2)),
                        static_cast<int>(row.Number(4)), impl_->conformed.NameOf(row, 3)});
    });
    return list;
}

bool MediaDB::IfStillUnused(ConformedFile const& record, int days,
                            std::function<void()> const& work) {
    return impl_->conformed.IfUnused(
        {record.mediaPath, record.mediaFingerprint, record.streamIndex, record.sampleRate},
        record.cacheFilename, days, impl_->Now(), work);
}

bool MediaDB::GetPeakFilename(std::wstring const& mediaPath, std::wstring const& fingerprint,
                              int streamIndex, std::wstring* fileName) const {
    return impl_->peak.Get({mediaPath, fingerprint, streamIndex}, fileName);
}

void MediaDB::AddPeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                          int streamIndex, std::wstring const& fileName) {
    impl_->peak.Add({mediaPath, fingerprint, streamIndex}, fileName, impl_->Now());
}

std::wstring MediaDB::ReplacePeakFile(std::wstring const& mediaPath,
                                      std::wstring const& fingerprint, int streamIndex,
                                      std::wstring const& fileName,
                                      std::optional<std::uint64_t> checksum) {
    return impl_->peak.Replace({mediaPath, fingerprint, streamIndex}, fileName, ReplacedFingerprint,
                               impl_->Now(), checksum);
}

void MediaDB::AddPeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                          int streamIndex, std::wstring const& fileName, std::uint64_t checksum) {
    impl_->peak.Add({mediaPath, fingerprint, streamIndex}, fileName, impl_->Now(), checksum);
}

bool MediaDB::TouchPeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                            int streamIndex) {
    return impl_->peak.Touch({mediaPath, fingerprint, streamIndex}, impl_->Now());
}

bool MediaDB::RemovePeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                             int streamIndex) {
    return impl_->peak.Remove({mediaPath, fingerprint, streamIndex});
}

MediaDB::PeakFileList MediaDB::FindUnusedPeakFiles(int days) const {
    PeakFileList list;
    impl_->peak.FindUnused(days, impl_->Now(), [&](const StatementRun& row) {
        list.push_back({row.Text(0), row.Text(1), static_cast<int>(row.Number(2)),
                        impl_->peak.NameOf(row, 3)});
    });
    return list;
}

bool MediaDB::IfStillUnused(PeakFile const& record, int days, std::function<void()> const& work) {
    return impl_->peak.IfUnused({record.mediaPath, record.mediaFingerprint, record.streamIndex},
                                record.cacheFilename, days, impl_->Now(), work);
}

void MediaDB::AddVFRCacheFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                              int streamIndex, std::wstring const& fileName) {
    impl_->vfr.Add({mediaPath, fingerprint, streamIndex}, fileName, impl_->Now());
}

bool MediaDB::RemoveVFRCacheFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                                 int streamIndex) {
    return impl_->vfr.Remove({mediaPath, fingerprint, streamIndex});
}

MediaDB::VFRCacheFileList MediaDB::FindUnusedVFRCacheFiles(int days) const {
    VFRCacheFileList list;
    impl_->vfr.FindUnused(days, impl_->Now(), [&](const StatementRun& row) {
        list.push_back(
            {row.Text(0), row.Text(1), static_cast<int>(row.Number(2)), impl_->vfr.NameOf(row, 3)});
    });
    return list;
}

bool MediaDB::IfStillUnused(VFRCacheFile const& record, int days,
                            std::function<void()> const& work) {
    return impl_->vfr.IfUnused({record.mediaPath, record.mediaFingerprint, record.streamIndex},
                               record.cacheFilename, days, impl_->Now(), work);
}

}  // namespace orlo::project
