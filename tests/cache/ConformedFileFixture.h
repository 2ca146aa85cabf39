// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/cache/LogFile.h"
#include "sonrel/project.h"
#include "tests/support/MediaAssets.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/fakes/FakeMediaDB.h"
#include "tests/support/fakes/FakeMediaLibrary.h"

namespace sonrel_tests {

/// One asset on a file that is there, an empty cache folder, a log and a database connection; the
/// media library and the database are fakes.
class ConformedFileFixture : public testing::Test {
protected:
    ConformedFileFixture() {
        FakeMediaDB::Instance().Reset();
        FakeMediaLibrary::Instance().Reset();
        std::filesystem::create_directory(folder / "cache");
        WriteFile(folder / "a.mov", "media");
        database = std::make_shared<orlo::project::MediaDB>(L"db", cacheFolder, false);
        db.ForgetCalls();
    }
    ~ConformedFileFixture() override { FakeMediaLibrary::Instance().Reset(); }

    /// Conforms the asset at a rate, with everything given and no codec passed over.
    std::wstring Create(int sampleRate = 48000) {
        return orlo::sonrel::ConformedAudioFileHelper::CreateConformedAudioFile(
            asset, sampleRate, cacheFolder, log, database, true);
    }

    std::vector<std::string> CacheFiles() const { return NamesIn(folder / "cache"); }

    /// The log's lines without their stamps.
    std::vector<std::string> Log() const {
        auto lines = ReadLines(folder / "log.txt");
        for (auto& line : lines) line.erase(0, 19);
        return lines;
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
    FakeMediaDB& db = FakeMediaDB::Instance();
    FakeMediaLibrary& media = FakeMediaLibrary::Instance();
};

}  // namespace sonrel_tests
