// SPDX-License-Identifier: MIT
#pragma once

#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>

#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/cache/LogFile.h"
#include "sonrel/cache/WaveformPeakFileHelper.h"
#include "sonrel/project.h"
#include "tests/support/MediaAssets.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/fakes/FakeMediaDB.h"
#include "tests/support/fakes/FakeMediaLibrary.h"

namespace sonrel_tests {

/// One asset with an existing media file, an empty cache folder, a log and a database connection.
/// The media library and the database are fakes.
class CacheHelperFixture : public testing::Test {
protected:
    CacheHelperFixture() {
        FakeMediaDB::Instance().Reset();
        FakeMediaLibrary::Instance().Reset();
        std::filesystem::create_directory(folder / "cache");
        WriteFile(folder / "a.mov", "media");
        database = std::make_shared<orlo::project::MediaDB>(L"db", cacheFolder, false);
        db.ForgetCalls();
    }
    ~CacheHelperFixture() override { FakeMediaLibrary::Instance().Reset(); }

    std::vector<std::string> CacheFiles() const { return NamesIn(folder / "cache"); }

    /// The lines of the log without their time stamps.
    std::vector<std::string> Log() const {
        auto lines = ReadLines(folder / "log.txt");
        for (auto& line : lines) line.erase(0, 19);
        return lines;
    }

    /// Expects one line: @p text, media path, blank and the path of a new file in the cache folder.
    void ExpectOneLine(const std::string& text) {
        const auto lines = Log();
        ASSERT_THAT(lines, testing::SizeIs(1));
        const std::string start =
            text + (folder / "a.mov").string() + " " + (folder / "cache").string() + "/";
        ASSERT_THAT(lines[0], testing::StartsWith(start));
        EXPECT_THAT(lines[0].substr(start.size()),
                    testing::MatchesRegex("[0-9a-f-]{36}\\.xw(mc|pk)"));
    }

    /// Whether another thread can take a lock. Waits half a minute in a broken build.
    static bool IsFree(orlo::project::ZRCriticalSection& lock) {
        auto taken = std::async(std::launch::async, [&] {
            lock.Lock();
            lock.Unlock();
        });
        return taken.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    }

    TemporaryFolder folder;
    std::wstring mediaPath = folder.Wide("a.mov");
    std::wstring cacheFolder = folder.Wide("cache");
    std::shared_ptr<orlo::project::MediaManager> manager =
        std::make_shared<orlo::project::MediaManager>();
    std::shared_ptr<orlo::project::MediaAsset> asset = MakeMediaAsset(manager, mediaPath);
    std::shared_ptr<orlo::project::LogFile> log =
        std::make_shared<orlo::project::LogFile>(folder.Wide("log.txt"));
    std::shared_ptr<orlo::project::MediaDB> database;
    bool includeAllCodecs = true;
    FakeMediaDB& db = FakeMediaDB::Instance();
    FakeMediaLibrary& media = FakeMediaLibrary::Instance();
};

class ConformedFileFixture : public CacheHelperFixture {
protected:
    std::wstring Create(int sampleRate = 48000) {
        return orlo::sonrel::ConformedAudioFileHelper::CreateConformedAudioFile(
            asset, sampleRate, cacheFolder, log, database, includeAllCodecs);
    }
    std::wstring Remake() {
        return orlo::sonrel::ConformedAudioFileHelper::RemakeConformedAudioFile(
            asset, 48000, cacheFolder, log, database, includeAllCodecs);
    }
    void SetAvailable() {
        orlo::sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(
            asset, 48000, cacheFolder, log, database, includeAllCodecs);
    }
    void SetAvailable(const std::wstring& path) {
        orlo::sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable(asset, 48000, path);
    }
    std::wstring PathOnStream() const { return asset->AudioStream()->ConformedFilePath(); }
    bool IsAvailable() const { return asset->AudioStream()->SamplesAvailable(); }

    static constexpr const char* EXTENSION = ".xwmc";
    static constexpr const char* FIND = "GetConformedFilename";
    static constexpr const char* TOUCH = "TouchConformedFile";
    static constexpr const char* ADD = "AddConformedFile";
    static constexpr const char* REPLACE = "ReplaceConformedFile";
    static constexpr const char* REMOVE = "RemoveConformedFile";

    std::vector<orlo::project::MediaDB::ConformedFile>& Records() { return db.conformed; }
    void AddRecord(const std::wstring& fingerprint, const std::wstring& name) {
        db.conformed.push_back({mediaPath, fingerprint, 0, 48000, name});
    }
    bool LockIsFree() { return IsFree(manager->ConformedAudioCacheFileCS(mediaPath)); }
    /// Fails after a part of the file is written.
    void FailToMake() {
        media.convert = [](const std::wstring& path) {
            WriteConverted(path);
            return 9;
        };
    }
    void ThrowIntWhileMaking() {
        media.convert = [](const std::wstring&) -> int { throw 42; };
    }
};

class PeakFileHelperFixture : public CacheHelperFixture {
protected:
    std::wstring Create() {
        return orlo::sonrel::WaveformPeakFileHelper::CreateWaveformPeakFile(
            asset, cacheFolder, log, database, includeAllCodecs);
    }
    std::wstring Remake() {
        return orlo::sonrel::WaveformPeakFileHelper::RemakeWaveformPeakFile(
            asset, cacheFolder, log, database, includeAllCodecs);
    }
    void SetAvailable() {
        orlo::sonrel::WaveformPeakFileHelper::SetWaveformPreviewAvailable(
            asset, cacheFolder, log, database, includeAllCodecs);
    }
    void SetAvailable(const std::wstring& path) {
        orlo::sonrel::WaveformPeakFileHelper::SetWaveformPreviewAvailable(asset, path);
    }
    std::wstring PathOnStream() const { return asset->AudioStream()->WaveformPeakFilePath(); }
    bool IsAvailable() const { return asset->AudioStream()->WaveformPreviewAvailable(); }

    static constexpr const char* EXTENSION = ".xwpk";
    static constexpr const char* FIND = "GetPeakFilename";
    static constexpr const char* TOUCH = "TouchPeakFile";
    static constexpr const char* ADD = "AddPeakFile";
    static constexpr const char* REPLACE = "ReplacePeakFile";
    static constexpr const char* REMOVE = "RemovePeakFile";

    std::vector<orlo::project::MediaDB::PeakFile>& Records() { return db.peaks; }
    void AddRecord(const std::wstring& fingerprint, const std::wstring& name) {
        db.peaks.push_back({mediaPath, fingerprint, 0, name});
    }
    bool LockIsFree() { return IsFree(manager->WaveformPeakFileCS(mediaPath)); }
    /// Fails at the first samples, after the file is opened.
    void FailToMake() {
        media.read = [](long long, int, void*, int, int*) { return 5; };
    }
    void ThrowIntWhileMaking() {
        media.read = [](long long, int, void*, int, int*) -> int { throw 42; };
    }
};

}  // namespace sonrel_tests
