// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "sonrel/caches/ConformedAudioFileHelper.h"
#include "sonrel/caches/LogFile.h"
#include "sonrel/contracts/project.h"
#include "tests/support/MediaAssets.h"
#include "tests/support/TempFolder.h"
#include "tests/support/fakes/FakeMediaDB.h"
#include "tests/support/fakes/FakeMediaLibrary.h"

namespace orlo::test {

/// One asset on a file that is there, an empty cache folder, a log and a database connection; the
/// media library and the database are fakes.
class ConformedFileFixture : public testing::Test {
protected:
    ConformedFileFixture() {
        FakeMediaDB::Instance().Reset();
        FakeMediaLibrary::Instance().Reset();
        std::filesystem::create_directory(folder / "cache");
        WriteText(folder / "a.mov", "media");
        database = std::make_shared<project::MediaDB>(L"db", cacheFolder, false);
        db.ForgetCalls();
    }
    ~ConformedFileFixture() override { FakeMediaLibrary::Instance().Reset(); }

    /// Conforms the asset at a rate, with everything given and no codec passed over.
    std::wstring Create(int sampleRate = 48000) {
        return sonrel::ConformedAudioFileHelper::CreateConformedAudioFile(
            asset, sampleRate, cacheFolder, log, database, true);
    }

    std::vector<std::string> CacheFiles() const { return NamesIn(folder / "cache"); }

    /// The log's lines without their stamps.
    std::vector<std::string> Log() const {
        auto lines = ReadLines(folder / "log.txt");
        for (auto& line : lines) line.erase(0, 19);
        return lines;
    }

    TempFolder folder;
    std::wstring mediaPath = folder.Wide("a.mov");
    std::wstring cacheFolder = folder.Wide("cache");
    std::shared_ptr<project::MediaManager> manager = std::make_shared<project::MediaManager>();
    std::shared_ptr<project::MediaAsset> asset = MakeMediaAsset(manager, mediaPath);
    std::shared_ptr<project::LogFile> log =
        std::make_shared<project::LogFile>(folder.Wide("log.txt"));
    std::shared_ptr<project::MediaDB> database;
    FakeMediaDB& db = FakeMediaDB::Instance();
    FakeMediaLibrary& media = FakeMediaLibrary::Instance();
};

}  // namespace orlo::test
