// SPDX-License-Identifier: MIT
#include "tests/support/fakes/FakeMediaDB.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace sonrel_tests {

struct FakeMediaDBCalls {
    /// Records a call and fails where the test requires it.
    static void Note(const std::string& operation, const std::string& detail = {}) {
        FakeMediaDB& fake = FakeMediaDB::Instance();
        const std::lock_guard<std::mutex> guard(fake.mutex_);
        fake.calls_.push_back(detail.empty() ? operation : operation + " " + detail);
        const auto failure = fake.failures_.find(operation);
        if (failure == fake.failures_.end()) return;
        if (failure->second.callsLeft > 0 && --failure->second.callsLeft > 0) return;
        const std::string text = failure->second.text;
        if (failure->second.callsLeft == 0) fake.failures_.erase(failure);
        throw std::runtime_error(text);
    }

    static bool RunIfUnused(const std::wstring& name, const std::function<void()>& work) {
        FakeMediaDB& fake = FakeMediaDB::Instance();
        {
            const std::lock_guard<std::mutex> guard(fake.mutex_);
            if (fake.stamped.contains(name)) return false;
            fake.isInTransaction = true;
        }
        const auto end = [&fake](void*) { fake.isInTransaction = false; };
        const std::unique_ptr<void, decltype(end)> transaction(&fake, end);
        work();
        return true;
    }
};

FakeMediaDB& FakeMediaDB::Instance() {
    static FakeMediaDB fake;
    return fake;
}

void FakeMediaDB::Reset() {
    const std::lock_guard<std::mutex> guard(mutex_);
    conformed.clear();
    peaks.clear();
    vfr.clear();
    stamped.clear();
    checksums.clear();
    isInTransaction = false;
    databasePath.clear();
    cacheFolderPath.clear();
    calls_.clear();
    failures_.clear();
    add = nullptr;
    touch = nullptr;
    isOnServer = false;
    lock = nullptr;
    locked.clear();
    status_ = orlo::project::MediaDB::Ready;
}

void FakeMediaDB::Throw(const std::string& operation, const std::string& text) {
    const std::lock_guard<std::mutex> guard(mutex_);
    failures_[operation] = {-1, text};
}

void FakeMediaDB::ThrowAt(const std::string& operation, int nth, const std::string& text) {
    const std::lock_guard<std::mutex> guard(mutex_);
    failures_[operation] = {nth, text};
}

void FakeMediaDB::SetStatus(orlo::project::MediaDB::DatabaseStatus status) {
    const std::lock_guard<std::mutex> guard(mutex_);
    status_ = status;
}

std::vector<std::string> FakeMediaDB::Calls() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return calls_;
}

int FakeMediaDB::CallCount(const std::string& operation) const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return static_cast<int>(std::count_if(
        calls_.begin(), calls_.end(),
        [&](const std::string& call) { return call.substr(0, call.find(' ')) == operation; }));
}

void FakeMediaDB::ForgetCalls() {
    const std::lock_guard<std::mutex> guard(mutex_);
    calls_.clear();
}

int FakeMediaDB::OpenConnections() const {
    const std::lock_guard<std::mutex> guard(mutex_);
    return openConnections_;
}

}  // namespace sonrel_tests

namespace orlo::project {

using sonrel_tests::FakeMediaDB;
using sonrel_tests::FakeMediaDBCalls;

struct MediaDBImpl {};

namespace {

template <class Record>
bool IsOf(const Record& record, const std::wstring& mediaPath, const std::wstring& fingerprint,
          int streamIndex) {
    return record.mediaPath == mediaPath && record.mediaFingerprint == fingerprint &&
           record.streamIndex == streamIndex;
}

auto ConformedKey(const std::wstring& mediaPath, const std::wstring& fingerprint, int streamIndex,
                  int sampleRate) {
    return [=](const MediaDB::ConformedFile& record) {
        return IsOf(record, mediaPath, fingerprint, streamIndex) && record.sampleRate == sampleRate;
    };
}

auto StreamKey(const std::wstring& mediaPath, const std::wstring& fingerprint, int streamIndex) {
    return [=](const auto& record) { return IsOf(record, mediaPath, fingerprint, streamIndex); };
}

template <class Records, class Key>
bool Find(const Records& records, const Key& key, std::wstring* fileName) {
    const auto found = std::find_if(records.begin(), records.end(), key);
    if (found == records.end()) return false;
    *fileName = found->cacheFilename;
    return true;
}

template <class Records, class Key>
bool Has(const Records& records, const Key& key) {
    return std::any_of(records.begin(), records.end(), key);
}

template <class Records, class Key>
bool Erase(Records& records, const Key& key) {
    return std::erase_if(records, key) > 0;
}

template <class List, class Records>
List All(const Records& records) {
    List list;
    for (const auto& record : records) list.push_back(record);
    return list;
}

/// The database refuses a second record of a key.
template <class Records, class Key>
void RefuseTwice(const Records& records, const Key& key) {
    if (Has(records, key)) throw std::runtime_error("the key is there already");
}

FakeMediaDB& Fake() {
    return FakeMediaDB::Instance();
}

}  // namespace

MediaDB::MediaDB(std::wstring const& databasePath, std::wstring const& cacheFolderPath,
                 bool createAndMigrate) {
    FakeMediaDBCalls::Note("MediaDB", createAndMigrate ? "true" : "false");
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    Fake().databasePath = databasePath;
    Fake().cacheFolderPath = cacheFolderPath;
    ++Fake().openConnections_;
}

MediaDB::~MediaDB() {
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    --Fake().openConnections_;
}

MediaDB::DatabaseStatus MediaDB::Status() const {
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    return Fake().status_;
}

bool MediaDB::LockForAll(std::wstring const& name) {
    if (!Fake().isOnServer) return false;
    FakeMediaDBCalls::Note("LockForAll");
    if (Fake().lock) Fake().lock();
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    Fake().locked.insert(name);
    return true;
}

void MediaDB::UnlockForAll(std::wstring const& name) {
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    Fake().locked.erase(name);
}

std::wstring MediaDB::CreateMediaCacheFilePath(std::wstring const& cacheFolder,
                                               std::wstring const& fileName) {
    return cacheFolder + L"/" + fileName;
}

bool MediaDB::GetConformedFilename(std::wstring const& mediaPath, std::wstring const& fingerprint,
                                   int streamIndex, int sampleRate, std::wstring* fileName) const {
    FakeMediaDBCalls::Note("GetConformedFilename");
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    return Find(Fake().conformed, ConformedKey(mediaPath, fingerprint, streamIndex, sampleRate),
                fileName);
}

void MediaDB::AddConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                               int streamIndex, int sampleRate, std::wstring const& fileName) {
    FakeMediaDBCalls::Note("AddConformedFile");
    if (Fake().add) Fake().add();
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    RefuseTwice(Fake().conformed, ConformedKey(mediaPath, fingerprint, streamIndex, sampleRate));
    Fake().conformed.push_back({mediaPath, fingerprint, streamIndex, sampleRate, fileName});
}

void MediaDB::AddConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                               int streamIndex, int sampleRate, std::wstring const& fileName,
                               std::uint64_t checksum) {
    AddConformedFile(mediaPath, fingerprint, streamIndex, sampleRate, fileName);
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    Fake().checksums[fileName] = checksum;
}

std::wstring MediaDB::ReplacedFingerprint(std::wstring const& fileName) {
    return L"replaced " + fileName;
}

std::wstring MediaDB::ReplaceConformedFile(std::wstring const& mediaPath,
                                           std::wstring const& fingerprint, int streamIndex,
                                           int sampleRate, std::wstring const& fileName,
                                           std::optional<std::uint64_t> checksum) {
    FakeMediaDBCalls::Note("ReplaceConformedFile");
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    const auto key = ConformedKey(mediaPath, fingerprint, streamIndex, sampleRate);
    std::wstring old;
    Find(Fake().conformed, key, &old);
    Erase(Fake().conformed, key);
    Fake().conformed.push_back({mediaPath, fingerprint, streamIndex, sampleRate, fileName});
    if (checksum) Fake().checksums[fileName] = *checksum;
    if (old.empty()) return old;
    Fake().conformed.push_back({mediaPath, ReplacedFingerprint(old), streamIndex, sampleRate, old});
    return old;
}

bool MediaDB::TouchConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                                 int streamIndex, int sampleRate) {
    FakeMediaDBCalls::Note("TouchConformedFile");
    if (Fake().touch) Fake().touch();
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    return Has(Fake().conformed, ConformedKey(mediaPath, fingerprint, streamIndex, sampleRate));
}

bool MediaDB::RemoveConformedFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                                  int streamIndex, int sampleRate) {
    FakeMediaDBCalls::Note("RemoveConformedFile", Fake().isInTransaction ? "in transaction" : "");
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    return Erase(Fake().conformed, ConformedKey(mediaPath, fingerprint, streamIndex, sampleRate));
}

MediaDB::ConformedFileList MediaDB::FindUnusedConformedFiles(int days) const {
    FakeMediaDBCalls::Note("FindUnusedConformedFiles", std::to_string(days));
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    return All<ConformedFileList>(Fake().conformed);
}

bool MediaDB::GetPeakFilename(std::wstring const& mediaPath, std::wstring const& fingerprint,
                              int streamIndex, std::wstring* fileName) const {
    FakeMediaDBCalls::Note("GetPeakFilename");
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    return Find(Fake().peaks, StreamKey(mediaPath, fingerprint, streamIndex), fileName);
}

void MediaDB::AddPeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                          int streamIndex, std::wstring const& fileName) {
    FakeMediaDBCalls::Note("AddPeakFile");
    if (Fake().add) Fake().add();
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    RefuseTwice(Fake().peaks, StreamKey(mediaPath, fingerprint, streamIndex));
    Fake().peaks.push_back({mediaPath, fingerprint, streamIndex, fileName});
}

void MediaDB::AddPeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                          int streamIndex, std::wstring const& fileName, std::uint64_t checksum) {
    AddPeakFile(mediaPath, fingerprint, streamIndex, fileName);
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    Fake().checksums[fileName] = checksum;
}

std::wstring MediaDB::ReplacePeakFile(std::wstring const& mediaPath,
                                      std::wstring const& fingerprint, int streamIndex,
                                      std::wstring const& fileName,
                                      std::optional<std::uint64_t> checksum) {
    FakeMediaDBCalls::Note("ReplacePeakFile");
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    const auto key = StreamKey(mediaPath, fingerprint, streamIndex);
    std::wstring old;
    Find(Fake().peaks, key, &old);
    Erase(Fake().peaks, key);
    Fake().peaks.push_back({mediaPath, fingerprint, streamIndex, fileName});
    if (checksum) Fake().checksums[fileName] = *checksum;
    if (old.empty()) return old;
    Fake().peaks.push_back({mediaPath, ReplacedFingerprint(old), streamIndex, old});
    return old;
}

bool MediaDB::TouchPeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                            int streamIndex) {
    FakeMediaDBCalls::Note("TouchPeakFile");
    if (Fake().touch) Fake().touch();
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    return Has(Fake().peaks, StreamKey(mediaPath, fingerprint, streamIndex));
}

bool MediaDB::RemovePeakFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                             int streamIndex) {
    FakeMediaDBCalls::Note("RemovePeakFile", Fake().isInTransaction ? "in transaction" : "");
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    return Erase(Fake().peaks, StreamKey(mediaPath, fingerprint, streamIndex));
}

MediaDB::PeakFileList MediaDB::FindUnusedPeakFiles(int days) const {
    FakeMediaDBCalls::Note("FindUnusedPeakFiles", std::to_string(days));
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    return All<PeakFileList>(Fake().peaks);
}

void MediaDB::AddVFRCacheFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                              int streamIndex, std::wstring const& fileName) {
    FakeMediaDBCalls::Note("AddVFRCacheFile");
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    RefuseTwice(Fake().vfr, StreamKey(mediaPath, fingerprint, streamIndex));
    Fake().vfr.push_back({mediaPath, fingerprint, streamIndex, fileName});
}

bool MediaDB::RemoveVFRCacheFile(std::wstring const& mediaPath, std::wstring const& fingerprint,
                                 int streamIndex) {
    FakeMediaDBCalls::Note("RemoveVFRCacheFile", Fake().isInTransaction ? "in transaction" : "");
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    return Erase(Fake().vfr, StreamKey(mediaPath, fingerprint, streamIndex));
}

MediaDB::VFRCacheFileList MediaDB::FindUnusedVFRCacheFiles(int days) const {
    FakeMediaDBCalls::Note("FindUnusedVFRCacheFiles", std::to_string(days));
    const std::lock_guard<std::mutex> guard(Fake().mutex_);
    return All<VFRCacheFileList>(Fake().vfr);
}

bool MediaDB::IfStillUnused(ConformedFile const& record, int, std::function<void()> const& work) {
    return FakeMediaDBCalls::RunIfUnused(record.cacheFilename, work);
}

bool MediaDB::IfStillUnused(PeakFile const& record, int, std::function<void()> const& work) {
    return FakeMediaDBCalls::RunIfUnused(record.cacheFilename, work);
}

bool MediaDB::IfStillUnused(VFRCacheFile const& record, int, std::function<void()> const& work) {
    return FakeMediaDBCalls::RunIfUnused(record.cacheFilename, work);
}

}  // namespace orlo::project
