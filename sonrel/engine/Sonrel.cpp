// SPDX-License-Identifier: MIT
#include "sonrel/engine/Sonrel.h"

#include <QDir>
#include <QFileInfo>
#include <QString>
#include <exception>
#include <stdexcept>

#include "sonrel/cache/LogFile.h"
#include "sonrel/engine/detail/SonrelImpl.h"
#include "sonrel/mixer/AudioMixer.h"

namespace orlo::sonrel {

using project::LogFile;
using project::MediaDB;

namespace {

std::wstring NativeAbsolutePath(const QFileInfo& file) {
    return QDir::toNativeSeparators(file.absoluteFilePath()).toStdWString();
}

/// @throws std::runtime_error when the folder is missing and cannot be created
void EnsureFolder(const QFileInfo& folder) {
    if (folder.isDir()) return;
    if (!QDir().mkpath(folder.absoluteFilePath())) {
        throw std::runtime_error("Cannot create cache folder path");
    }
}

}  // namespace

Sonrel::Sonrel(const std::wstring& databasePath, const std::wstring& cacheFolderPath,
               LogOption logOption)
    : impl_(std::make_unique<SonrelImpl>()) {
    if (!databasePath.empty() && !cacheFolderPath.empty()) {
        const QFileInfo cacheFolder(QString::fromStdWString(cacheFolderPath));
        const QFileInfo database(QString::fromStdWString(databasePath));
        impl_->mediaCacheFolderPath = NativeAbsolutePath(cacheFolder);
        impl_->mediaDatabasePath = NativeAbsolutePath(database);
        if (logOption == LogOption::WriteErrorLog) {
            impl_->mediaCacheErrorLog = std::make_shared<LogFile>(
                database.absolutePath().toStdWString() + L"/CacheErrorLog.txt");
        }
        EnsureFolder(cacheFolder);
        impl_->cacheFolderUse = std::make_unique<CacheFolderUse>(impl_->mediaCacheFolderPath);
        // Only a probe: the engine keeps no permanent connection.
        impl_->mediaDatabaseStatus =
            MediaDB(impl_->mediaDatabasePath, impl_->mediaCacheFolderPath, true).Status();
    }
    impl_->mixer = std::shared_ptr<AudioMixer>(new AudioMixer);
}

Sonrel::~Sonrel() {
    try {
        ClearCacheFiles();
    } catch (const std::exception&) {
        // The remaining files are due again at the next run.
    }
    // Its worker and callbacks use the mixer, so it is released while the record exists.
    impl_->playback.reset();
}

std::shared_ptr<Sonrel> Sonrel::Create(const std::wstring& databasePath,
                                       const std::wstring& cacheFolderPath, std::string* error,
                                       LogOption logOption) {
    try {
        return std::shared_ptr<Sonrel>(new Sonrel(databasePath, cacheFolderPath, logOption));
    } catch (const std::exception& failure) {
        if (error != nullptr) *error = failure.what();
        return nullptr;
    }
}

const std::shared_ptr<AudioMixer>& Sonrel::Mixer() const {
    return impl_->mixer;
}

PlaybackEngine::Err Sonrel::InitializePlaybackEngine() {
    impl_->playback.reset();
    return PlaybackEngine::Create(this, impl_->playback);
}

const std::shared_ptr<PlaybackEngine>& Sonrel::Playback() const {
    return impl_->playback;
}

void Sonrel::ResetPlaybackEngine() {
    if (impl_->playback) impl_->playback->Uninitialize();
}

MediaDB::DatabaseStatus Sonrel::MediaDatabaseStatus() const {
    return impl_->mediaDatabaseStatus;
}

const std::wstring& Sonrel::MediaCacheFolderPath() const {
    return impl_->mediaCacheFolderPath;
}

const std::shared_ptr<LogFile>& Sonrel::MediaCacheErrorLog() const {
    return impl_->mediaCacheErrorLog;
}

int Sonrel::DaysToKeepCacheFiles() const {
    return impl_->daysToKeepCacheFiles;
}

void Sonrel::SetDaysToKeepCacheFiles(int days) {
    impl_->daysToKeepCacheFiles = days;
}

std::shared_ptr<MediaDB> Sonrel::OpenMediaDatabaseConnection() const {
    if (impl_->mediaDatabaseStatus == MediaDB::None) return nullptr;
    try {
        return std::make_shared<MediaDB>(impl_->mediaDatabasePath, impl_->mediaCacheFolderPath,
                                         false);
    } catch (const std::exception&) {
        return nullptr;
    }
}

}  // namespace orlo::sonrel
