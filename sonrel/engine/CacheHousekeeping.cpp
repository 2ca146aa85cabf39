// SPDX-License-Identifier: MIT
#include <QDir>
#include <QFile>
#include <QString>

#include "sonrel/cache/CacheFileUse.h"
#include "sonrel/cache/LogFile.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/engine/detail/SonrelImpl.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::sonrel {

using project::LogFile;
using project::MediaDB;

namespace {

/// Deletes unused cache files and their records, one kind of record after another.
struct Housekeeper {
    MediaDB& database;
    int days;
    QDir cacheFolder;
    LogFile* log;  // may be null

    /// Deletes the files of @p due in list order, and the record of each file that no longer
    /// exists. A record that was stamped since it was found keeps its file. The record of a file
    /// that cannot be deleted, for example because another process uses it, stays, so that the next
    /// run tries again.
    template <class List, class RemoveRecord>
    void Clear(const List& due, const wchar_t* failureText, RemoveRecord removeRecord) const {
        for (const auto& record : due) {
            bool isGone = true;
            database.IfStillUnused(record, days, [&] {
                isGone = RemoveFile(record.cacheFilename);
                if (isGone) removeRecord(record);
            });
            if (!isGone && log != nullptr) {
                log->Write(failureText + record.mediaPath + L" " + record.cacheFilename);
            }
        }
    }

private:
    /// @return whether the file no longer exists
    bool RemoveFile(const std::wstring& name) const {
        const QString path = cacheFolder.absoluteFilePath(QString::fromStdWString(name));
        if (!QFile::exists(path)) return true;
        const CacheFileRemoval removal(cacheFolder.absolutePath().toStdWString(), name);
        return removal.IsAllowed() && files::Remove(QFile::encodeName(path).toStdString());
    }
};

}  // namespace

unsigned long long Sonrel::ClearCacheFiles() {
    const int days = impl_->daysToKeepCacheFiles;
    const std::shared_ptr<MediaDB> database = OpenMediaDatabaseConnection();
    if (database == nullptr) return 0;

    const auto conformed = database->FindUnusedConformedFiles(days);
    const auto peaks = database->FindUnusedPeakFiles(days);
    const auto vfr = database->FindUnusedVFRCacheFiles(days);

    const Housekeeper housekeeper{*database, days,
                                  QDir(QString::fromStdWString(impl_->mediaCacheFolderPath)),
                                  impl_->mediaCacheErrorLog.get()};
    housekeeper.Clear(conformed, L"Could not remove conformed file when clearing cache files: ",
                      [&](const MediaDB::ConformedFile& record) {
                          database->RemoveConformedFile(record.mediaPath, record.mediaFingerprint,
                                                        record.streamIndex, record.sampleRate);
                      });
    housekeeper.Clear(peaks, L"Could not remove waveform peak file when clearing cache files: ",
                      [&](const MediaDB::PeakFile& record) {
                          database->RemovePeakFile(record.mediaPath, record.mediaFingerprint,
                                                   record.streamIndex);
                      });
    housekeeper.Clear(vfr, L"Could not remove VFR cache file when clearing cache files: ",
                      [&](const MediaDB::VFRCacheFile& record) {
                          database->RemoveVFRCacheFile(record.mediaPath, record.mediaFingerprint,
                                                       record.streamIndex);
                      });
    return conformed.size() + peaks.size() + vfr.size();
}

}  // namespace orlo::sonrel
