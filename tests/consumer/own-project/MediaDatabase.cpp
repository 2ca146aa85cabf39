// SPDX-License-Identifier: MIT
// The media database in memory, one for each path. It forgets nothing, so that the search for
// unused files finds none.
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>

#include "sonrel/project.h"

namespace orlo::project {

namespace {

/// Media path, fingerprint, stream, rate; the rate of a peak file is 0.
using Key = std::tuple<std::wstring, std::wstring, int, int>;
using Names = std::map<Key, std::wstring>;

struct Database {
    std::mutex mutex;
    Names conformed;
    Names peaks;
};

Database& DatabaseAt(std::wstring const& path) {
    static std::mutex mutex;
    static std::map<std::wstring, Database> databases;
    const std::lock_guard guard(mutex);
    return databases[path];
}

}  // namespace

struct MediaDBImpl {
    Database& database;

    bool Get(const Names& names, const Key& key, std::wstring* fileName) {
        const std::lock_guard guard(database.mutex);
        const auto found = names.find(key);
        if (found == names.end()) return false;
        *fileName = found->second;
        return true;
    }
    std::wstring Set(Names& names, const Key& key, std::wstring const& fileName) {
        const std::lock_guard guard(database.mutex);
        std::wstring old = names[key];
        names[key] = fileName;
        return old;
    }
    bool Remove(Names& names, const Key& key) {
        const std::lock_guard guard(database.mutex);
        return names.erase(key) > 0;
    }
};

MediaDB::MediaDB(std::wstring const& databasePath, std::wstring const&, bool)
    : impl_(new MediaDBImpl{DatabaseAt(databasePath)}) {}
MediaDB::~MediaDB() = default;

MediaDB::DatabaseStatus MediaDB::Status() const {
    return Ready;
}
bool MediaDB::LockForAll(std::wstring const&) {
    return false;
}
void MediaDB::UnlockForAll(std::wstring const&) {}

std::wstring MediaDB::CreateMediaCacheFilePath(std::wstring const& cacheFolder,
                                               std::wstring const& fileName) {
    return cacheFolder + L"/" + fileName;
}
std::wstring MediaDB::ReplacedFingerprint(std::wstring const& fileName) {
    return L"replaced " + fileName;
}

bool MediaDB::GetConformedFilename(std::wstring const& mediaPath, std::wstring const& fingerprint,
                                   int streamIndex, int sampleRate, std::wstring* fileName) const {
    return impl_->Get(impl_->database.conformed, {mediaPath, fingerprint, streamIndex, sampleRate},
                      fileName);
}
void MediaDB::AddConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                               int streamIndex, int sampleRate, std::wstring const& fileName,
                               std::uint64_t) {
    impl_->Set(impl_->database.conformed, {mediaPath, fingerprint, streamIndex, sampleRate},
               fileName);
}
std::wstring MediaDB::ReplaceConformedFile(std::wstring const& mediaPath,
                                           std::wstring const& fingerprint, int streamIndex,
                                           int sampleRate, std::wstring const& fileName,
                                           std::optional<std::uint64_t>) {
    return impl_->Set(impl_->database.conformed, {mediaPath, fingerprint, streamIndex, sampleRate},
                      fileName);
}
bool MediaDB::TouchConformedFile(std::wstring const&, std::wstring const&, int, int) {
    return true;
}
bool MediaDB::RemoveConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                                  int streamIndex, int sampleRate) {
    return impl_->Remove(impl_->database.conformed,
                         {mediaPath, fingerprint, streamIndex, sampleRate});
}
MediaDB::ConformedFileList MediaDB::FindUnusedConformedFiles(int) const {
    return {};
}
bool MediaDB::IfStillUnused(ConformedFile const&, int, std::function<void()> const&) {
    return false;
}

bool MediaDB::GetPeakFilename(std::wstring const& mediaPath, std::wstring const& fingerprint,
                              int streamIndex, std::wstring* fileName) const {
    return impl_->Get(impl_->database.peaks, {mediaPath, fingerprint, streamIndex, 0}, fileName);
}
void MediaDB::AddPeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                          int streamIndex, std::wstring const& fileName, std::uint64_t) {
    impl_->Set(impl_->database.peaks, {mediaPath, fingerprint, streamIndex, 0}, fileName);
}
std::wstring MediaDB::ReplacePeakFile(std::wstring const& mediaPath,
                                      std::wstring const& fingerprint, int streamIndex,
                                      std::wstring const& fileName, std::optional<std::uint64_t>) {
    return impl_->Set(impl_->database.peaks, {mediaPath, fingerprint, streamIndex, 0}, fileName);
}
bool MediaDB::TouchPeakFile(std::wstring const&, std::wstring const&, int) {
    return true;
}
bool MediaDB::RemovePeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                             int streamIndex) {
    return impl_->Remove(impl_->database.peaks, {mediaPath, fingerprint, streamIndex, 0});
}
MediaDB::PeakFileList MediaDB::FindUnusedPeakFiles(int) const {
    return {};
}
bool MediaDB::IfStillUnused(PeakFile const&, int, std::function<void()> const&) {
    return false;
}

bool MediaDB::RemoveVFRCacheFile(std::wstring const&, std::wstring const&, int) {
    return false;
}
MediaDB::VFRCacheFileList MediaDB::FindUnusedVFRCacheFiles(int) const {
    return {};
}
bool MediaDB::IfStillUnused(VFRCacheFile const&, int, std::function<void()> const&) {
    return false;
}

}  // namespace orlo::project
