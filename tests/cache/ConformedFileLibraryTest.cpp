// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "sonrel/base/Paths.h"
#include "sonrel/cache/CacheFileUse.h"
#include "sonrel/cache/ConformedAudioFileHelper.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/media/ConversionObserver.h"
#include "sonrel/project.h"
#include "tests/support/AnotherProcess.h"
#include "tests/support/MediaAssets.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/WaveBytes.h"

namespace {

using namespace orlo::sonrel::ConformedAudioFileHelper;
using orlo::project::ConformedAudioFile;
using orlo::project::MediaAsset;
using orlo::project::MediaDB;
using orlo::sonrel::CacheFileRemoval;
using orlo::sonrel::CacheFolderUse;
using orlo::sonrel::Sonrel;
using sonrel_tests::Chunk;
using sonrel_tests::CountingSamples;
using sonrel_tests::InAnotherProcess;
using sonrel_tests::MakeMediaAsset;
using sonrel_tests::NamesIn;
using sonrel_tests::PcmFormat;
using sonrel_tests::ReadLines;
using sonrel_tests::Riff;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WaitingProcess;
using sonrel_tests::WriteFile;
using testing::IsEmpty;
using testing::SizeIs;

/// Conforms with the real libraries: real recordings, a real database.
class ConformedFileLibrary : public testing::Test {
protected:
    ConformedFileLibrary() {
        engine = Sonrel::Create(folder.Wide("media.db"), folder.Wide("cache"), nullptr,
                                Sonrel::LogOption::WriteErrorLog);
        WriteFile(folder / "a.wav", Recording(4800));
        asset = MakeMediaAsset(manager, folder.Wide("a.wav"));
    }

    std::wstring Create(int sampleRate = 48000) {
        return CreateConformedAudioFile(asset, sampleRate, engine->MediaCacheFolderPath(),
                                        engine->MediaCacheErrorLog(),
                                        engine->OpenMediaDatabaseConnection(), true);
    }

    std::wstring Remake() {
        return RemakeConformedAudioFile(asset, 48000, engine->MediaCacheFolderPath(),
                                        engine->MediaCacheErrorLog(),
                                        engine->OpenMediaDatabaseConnection(), true);
    }

    static std::string FileName(const std::wstring& path) {
        return std::filesystem::path(zrtl::ToUtf8(path)).filename().string();
    }

    /// Whether a cache file is in use for another process.
    bool IsUsed(const std::wstring& path) const {
        return InAnotherProcess([&] {
                   const std::wstring name = zrtl::FromUtf8(FileName(path));
                   return CacheFileRemoval(folder.Wide("cache"), name).IsAllowed() ? 0 : 1;
               }) == 1;
    }

    std::vector<std::string> CacheFiles() const { return NamesIn(folder / "cache"); }
    std::vector<std::string> Log() const { return ReadLines(folder / "CacheErrorLog.txt"); }

    /// A recording of stereo frames that are all different.
    static std::string Recording(long long frames) {
        return Riff(Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) +
                    Chunk("data", CountingSamples(frames)));
    }

    TemporaryFolder folder;
    std::shared_ptr<orlo::project::MediaManager> manager =
        std::make_shared<orlo::project::MediaManager>();
    std::shared_ptr<Sonrel> engine;
    std::shared_ptr<MediaAsset> asset;
};

TEST_F(ConformedFileLibrary, StereoMediaAtTheProjectRateKeepsItsBits) {
    const std::wstring path = Create();

    ConformedAudioFile file;
    ASSERT_TRUE(file.Open(path));
    ASSERT_EQ(file.SampleCount(), 4800);
    std::string samples(4 * 4800, 'x');
    int read = 0;
    ASSERT_EQ(
        file.GetSamples(0, 4800, reinterpret_cast<unsigned char*>(samples.data()), 4 * 4800, &read),
        0);
    EXPECT_TRUE(samples == CountingSamples(4800));
}

TEST_F(ConformedFileLibrary, TheStreamHasTheLengthOfTheConformedFile) {
    SetAudioSamplesAvailable(asset, 48000, engine->MediaCacheFolderPath(), nullptr,
                             engine->OpenMediaDatabaseConnection(), true);

    EXPECT_EQ(asset->AudioStream()->ConformedSampleCount(), 4800);
    EXPECT_EQ(asset->AudioStream()->ConformedSampleRate(), 48000);
    EXPECT_TRUE(asset->AudioStream()->SamplesAvailable());
}

TEST_F(ConformedFileLibrary, ALaterRunOfTheEngineFindsTheFile) {
    const std::wstring first = Create();
    engine.reset();
    engine = Sonrel::Create(folder.Wide("media.db"), folder.Wide("cache"), nullptr,
                            Sonrel::LogOption::WriteErrorLog);

    EXPECT_EQ(Create(), first);
    EXPECT_THAT(CacheFiles(), SizeIs(1));
}

TEST_F(ConformedFileLibrary, AFileThatWasMadeOrFoundIsInUseUntilTheEngineEnds) {
    const std::wstring made = Create(48000);
    engine.reset();
    EXPECT_FALSE(IsUsed(made));
    engine = Sonrel::Create(folder.Wide("media.db"), folder.Wide("cache"), nullptr,
                            Sonrel::LogOption::WriteErrorLog);

    EXPECT_EQ(Create(48000), made);
    EXPECT_TRUE(IsUsed(made));
    EXPECT_TRUE(IsUsed(Create(44100)));
}

TEST_F(ConformedFileLibrary, AFileIsInUseWhileItIsWritten) {
    bool wasUsed = false;
    const zrh::media::ConversionObserver observer([&](long long, long long) {
        for (const std::string& name : CacheFiles()) wasUsed = IsUsed(folder.Wide(name));
        return true;
    });

    Create();

    EXPECT_TRUE(wasUsed);
}

TEST_F(ConformedFileLibrary, ARemadeFileReplacesTheOldFile) {
    const std::wstring first = Create();

    const std::wstring second = Remake();

    EXPECT_NE(second, first);
    EXPECT_EQ(CacheFiles(), std::vector<std::string>{FileName(second)});
    EXPECT_EQ(Create(), second);
}

TEST_F(ConformedFileLibrary, ARemakeWithoutAnOldFileMakesOne) {
    const std::wstring made = Remake();

    EXPECT_EQ(CacheFiles(), std::vector<std::string>{FileName(made)});
    EXPECT_EQ(Create(), made);
}

TEST_F(ConformedFileLibrary, ARemakeKeepsTheOldFileAndARecordWhileAnotherProcessUsesIt) {
    const std::wstring first = Create();
    WaitingProcess other(
        [&] { CacheFolderUse::Mark(folder.Wide("cache"), zrtl::FromUtf8(FileName(first))); });
    ASSERT_TRUE(other.IsReady());

    const std::wstring second = Remake();

    EXPECT_THAT(CacheFiles(), testing::UnorderedElementsAre(FileName(first), FileName(second)));
    EXPECT_EQ(Create(), second);
    EXPECT_EQ(engine->ClearCacheFiles(), 1u) << "the old file has a record that is unused";
    EXPECT_THAT(CacheFiles(), SizeIs(2));
    other.Kill();
    EXPECT_EQ(engine->ClearCacheFiles(), 1u);
    EXPECT_EQ(CacheFiles(), std::vector<std::string>{FileName(second)});
    EXPECT_EQ(engine->ClearCacheFiles(), 0u);
}

TEST_F(ConformedFileLibrary, AFailedRemakeKeepsTheOldFileAndItsRecord) {
    const std::wstring first = Create();
    {
        const zrh::media::ConversionObserver stop([](long long, long long) { return false; });
        EXPECT_EQ(Remake(), L"");
    }

    EXPECT_EQ(CacheFiles(), std::vector<std::string>{FileName(first)});
    EXPECT_EQ(Create(), first);
}

TEST_F(ConformedFileLibrary, TwoRatesGiveTwoFilesThatAreBothCurrent) {
    const std::wstring at48000 = Create(48000);
    const std::wstring at44100 = Create(44100);

    EXPECT_EQ(Create(48000), at48000);
    EXPECT_EQ(Create(44100), at44100);
    EXPECT_THAT(CacheFiles(), SizeIs(2));
}

TEST_F(ConformedFileLibrary, AChangedMediaFileIsConvertedAgainAndTheOldRecordRemains) {
    const std::wstring first = Create();
    WriteFile(folder / "a.wav", Recording(2));

    const std::wstring second = Create();

    EXPECT_NE(second, first);
    EXPECT_THAT(CacheFiles(), SizeIs(2));
    engine->SetDaysToKeepCacheFiles(0);
    EXPECT_EQ(engine->ClearCacheFiles(), 2u);
}

TEST_F(ConformedFileLibrary, ADeletedFileIsMadeAgainAndItsRecordReplaced) {
    std::filesystem::remove(zrtl::ToUtf8(Create()));

    const std::wstring second = Create();

    EXPECT_TRUE(std::filesystem::exists(zrtl::ToUtf8(second)));
    EXPECT_EQ(Create(), second);
    engine->SetDaysToKeepCacheFiles(0);
    EXPECT_EQ(engine->ClearCacheFiles(), 1u);
}

TEST_F(ConformedFileLibrary, AFileThatIsNotMediaLeavesALogLineOnly) {
    WriteFile(folder / "notes.wav", "no sound at all");
    asset = MakeMediaAsset(manager, folder.Wide("notes.wav"));

    EXPECT_EQ(Create(), L"");

    ASSERT_THAT(Log(), SizeIs(1));
    EXPECT_THAT(Log()[0],
                testing::HasSubstr("] Could not save: " + (folder / "notes.wav").string() + " "));
    EXPECT_THAT(CacheFiles(), IsEmpty());
    engine->SetDaysToKeepCacheFiles(0);
    EXPECT_EQ(engine->ClearCacheFiles(), 0u);
}

TEST_F(ConformedFileLibrary, MissingMediaLeavesALogLineOnly) {
    asset = MakeMediaAsset(manager, folder.Wide("missing.wav"));

    EXPECT_EQ(Create(), L"");

    EXPECT_THAT(Log(), SizeIs(1));
    EXPECT_THAT(CacheFiles(), IsEmpty());
}

TEST_F(ConformedFileLibrary, FailedConversionsLeaveNoDescriptorOpen) {
    WriteFile(folder / "notes.wav", "no sound at all");
    WriteFile(folder / "cut.wav", Recording(100).substr(0, 30));
    const auto open = [] { return NamesIn("/proc/self/fd").size(); };
    Create();
    const std::size_t before = open();

    for (const char* name : {"notes.wav", "cut.wav", "missing.wav"}) {
        asset = MakeMediaAsset(manager, folder.Wide(name));
        for (int i = 0; i < 20; ++i) EXPECT_EQ(Create(), L"") << name;
    }

    EXPECT_EQ(open(), before);
}

TEST_F(ConformedFileLibrary, AMissingAudioStreamLeavesALogLineOnly) {
    asset->SetAudioStreamIndex(1);

    EXPECT_EQ(Create(), L"");

    EXPECT_THAT(Log(), SizeIs(1));
    EXPECT_THAT(CacheFiles(), IsEmpty());
}

TEST_F(ConformedFileLibrary, AMissingCacheFolderLeavesALogLine) {
    std::filesystem::remove(folder / "cache");

    EXPECT_EQ(Create(), L"");

    EXPECT_THAT(Log(), SizeIs(1));
    EXPECT_FALSE(std::filesystem::exists(folder / "cache"));
}

TEST_F(ConformedFileLibrary, WithoutADatabaseEachCallKeepsANewFile) {
    const auto create = [this] {
        return CreateConformedAudioFile(asset, 48000, engine->MediaCacheFolderPath(), nullptr,
                                        nullptr, true);
    };

    EXPECT_NE(create(), create());

    EXPECT_THAT(CacheFiles(), SizeIs(2));
    engine->SetDaysToKeepCacheFiles(0);
    EXPECT_EQ(engine->ClearCacheFiles(), 0u);
}

TEST_F(ConformedFileLibrary, AnotherProjectOnTheSameDatabaseFindsTheFile) {
    const std::wstring first = Create();
    const auto otherManager = std::make_shared<orlo::project::MediaManager>();
    asset = MakeMediaAsset(otherManager, folder.Wide("a.wav"));

    EXPECT_EQ(Create(), first);
    EXPECT_THAT(CacheFiles(), SizeIs(1));
}

/// A pipe with which one process lets another continue.
class Signal {
public:
    Signal() {
        if (pipe(ends_) != 0) throw std::runtime_error("no pipe");
    }
    ~Signal() {
        close(ends_[0]);
        close(ends_[1]);
    }
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    void Send() const {
        if (write(ends_[1], "x", 1) != 1) std::abort();
    }
    void Wait() const {
        char byte = 0;
        if (read(ends_[0], &byte, 1) != 1) std::abort();
    }

private:
    int ends_[2] = {};
};

TEST_F(ConformedFileLibrary, OfTwoProcessesThatConformOneProjectBothUseTheFileOfTheFirst) {
    const Signal converting;
    const Signal recorded;
    const auto projectWithAsset = [this] {
        auto project = std::make_shared<orlo::project::Project>();
        project->Assets().Add(MakeMediaAsset(project->Manager(), folder.Wide("a.wav")));
        return project;
    };
    const auto conformedPath = [](orlo::project::Project& project) {
        const auto media = std::static_pointer_cast<MediaAsset>(project.Assets().All()[0]);
        return media->AudioStream()->ConformedFilePath();
    };

    const pid_t slower = fork();
    if (slower == 0) {
        bool isFirst = true;
        const zrh::media::ConversionObserver observer([&](long long, long long) {
            if (std::exchange(isFirst, false)) {
                converting.Send();
                recorded.Wait();
            }
            return true;
        });
        const auto project = projectWithAsset();
        const auto theirs = Sonrel::Create(folder.Wide("media.db"), folder.Wide("cache"), nullptr,
                                           Sonrel::LogOption::WriteErrorLog);
        SetAudioSamplesAvailable(project, theirs, true);
        ConformedAudioFile file;
        const bool isAudible = file.Open(conformedPath(*project)) && file.SampleCount() == 4800;
        _exit(isAudible && NamesIn(folder / "cache").size() == 1 ? 0 : 1);
    }
    converting.Wait();
    const auto project = projectWithAsset();
    SetAudioSamplesAvailable(project, engine, true);
    recorded.Send();
    int status = 0;
    waitpid(slower, &status, 0);

    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_NE(conformedPath(*project), L"");
    EXPECT_THAT(CacheFiles(), SizeIs(1));
}

TEST_F(ConformedFileLibrary, AFolderThatCannotBeListedAcceptsFiles) {
    std::filesystem::permissions(folder.Path(), std::filesystem::perms(0777));
    engine.reset();
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
        if (entry.is_regular_file())
            std::filesystem::permissions(entry, std::filesystem::perms(0666));
    }
    std::filesystem::permissions(folder / "cache", std::filesystem::perms(0333));

    const int answer = sonrel_tests::AsAnyone([&] {
        const auto theirs = Sonrel::Create(folder.Wide("media.db"), folder.Wide("cache"), nullptr,
                                           Sonrel::LogOption::WriteErrorLog);
        if (theirs == nullptr) return 1;
        const std::wstring path = CreateConformedAudioFile(
            asset, 48000, theirs->MediaCacheFolderPath(), theirs->MediaCacheErrorLog(),
            theirs->OpenMediaDatabaseConnection(), true);
        ConformedAudioFile file;
        return file.Open(path) ? 0 : 2;
    });

    std::filesystem::permissions(folder / "cache", std::filesystem::perms(0700));
    EXPECT_EQ(answer, 0);
}

}  // namespace
