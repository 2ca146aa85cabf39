// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "sonrel/engine/Sonrel.h"
#include "tests/cache/CacheHelperFixture.h"

namespace {

using orlo::project::AudioSamplingRate;
using orlo::project::CompositionAsset;
using orlo::project::MediaAsset;
using orlo::project::Project;
using orlo::sonrel::Sonrel;
using orlo::sonrel::ConformedAudioFileHelper::SetAudioSamplesAvailable;
using sonrel_tests::MakeMediaAsset;
using sonrel_tests::WriteFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using zrh::media::ZRAudioCodec;

/// A project and an engine with the cache of the fixture.
class ConformedProject : public sonrel_tests::ConformedFileFixture {
protected:
    ConformedProject() {
        engine = Sonrel::Create(folder.Wide("media.db"), cacheFolder, nullptr,
                                Sonrel::LogOption::WriteErrorLog);
        db.ForgetCalls();
    }

    std::shared_ptr<MediaAsset> AddMedia(const std::string& name,
                                         ZRAudioCodec codec = ZRAudioCodec::Pcm) {
        WriteFile(folder / name, name);
        auto added = MakeMediaAsset(project->Manager(), folder.Wide(name), codec);
        project->Assets().Add(added);
        return added;
    }

    std::shared_ptr<Project> project = std::make_shared<Project>();
    std::shared_ptr<Sonrel> engine;
};

TEST_F(ConformedProject, ConformsEachMediaAssetInListOrderAtTheSequencesRate) {
    project->Sequence()->Settings().SetAudioSampleRate(AudioSamplingRate::Hz44100);
    const auto first = AddMedia("b.wav");
    const auto second = AddMedia("a.wav");

    SetAudioSamplesAvailable(project, engine, true);

    ASSERT_THAT(db.conformed, SizeIs(2));
    EXPECT_EQ(db.conformed[0].mediaPath, folder.Wide("b.wav"));
    EXPECT_EQ(db.conformed[1].mediaPath, folder.Wide("a.wav"));
    EXPECT_EQ(db.conformed[0].sampleRate, 44100);
    for (const auto& made : {first, second}) {
        EXPECT_TRUE(made->AudioStream()->SamplesAvailable());
        EXPECT_EQ(made->AudioStream()->ConformedSampleRate(), 44100);
        EXPECT_TRUE(
            std::filesystem::exists(zrtl::ToUtf8(made->AudioStream()->ConformedFilePath())));
    }
}

TEST_F(ConformedProject, SkipsCompositions) {
    project->Assets().Add(std::make_shared<CompositionAsset>());
    AddMedia("a.wav");
    project->Assets().Add(std::make_shared<CompositionAsset>());

    SetAudioSamplesAvailable(project, engine, true);

    EXPECT_EQ(media.CallCount("Convert"), 1);
    EXPECT_THAT(db.conformed, SizeIs(1));
}

TEST_F(ConformedProject, SkipsAssetsWithoutSound) {
    const auto silent = std::make_shared<MediaAsset>(project->Manager(), mediaPath);
    project->Assets().Add(silent);
    AddMedia("a.wav");

    SetAudioSamplesAvailable(project, engine, true);

    EXPECT_EQ(silent->AudioStream(), nullptr);
    EXPECT_THAT(db.conformed, SizeIs(1));
}

TEST_F(ConformedProject, OneConnectionServesTheWholeProject) {
    AddMedia("a.wav");
    AddMedia("b.wav");

    SetAudioSamplesAvailable(project, engine, true);

    EXPECT_THAT(db.Calls(), ElementsAre("MediaDB false", "GetConformedFilename", "AddConformedFile",
                                        "GetConformedFilename", "AddConformedFile"));
}

TEST_F(ConformedProject, ASkippedCodecIsSetAvailableWithAnEmptyPath) {
    const auto passedOver = AddMedia("a.wav", ZRAudioCodec::Skipped);

    SetAudioSamplesAvailable(project, engine, false);

    EXPECT_TRUE(passedOver->AudioStream()->SamplesAvailable());
    EXPECT_EQ(passedOver->AudioStream()->ConformedFilePath(), L"");
    EXPECT_THAT(media.Calls(), IsEmpty());
}

TEST_F(ConformedProject, AFailureDoesNotAffectTheNextAsset) {
    const auto broken = AddMedia("a.wav");
    const auto whole = AddMedia("b.wav");
    media.create = [this](const std::wstring& path) {
        return path == folder.Wide("a.wav") ? 4 : 0;
    };

    SetAudioSamplesAvailable(project, engine, true);

    EXPECT_TRUE(broken->AudioStream()->SamplesAvailable());
    EXPECT_EQ(broken->AudioStream()->ConformedFilePath(), L"");
    EXPECT_NE(whole->AudioStream()->ConformedFilePath(), L"");
}

TEST_F(ConformedProject, WithoutADatabaseTheFilesAreMadeToo) {
    db.Throw("MediaDB", "unable to open database file");
    const auto asked = AddMedia("a.wav");

    SetAudioSamplesAvailable(project, engine, true);

    EXPECT_NE(asked->AudioStream()->ConformedFilePath(), L"");
    EXPECT_THAT(db.conformed, IsEmpty());
    EXPECT_THAT(CacheFiles(), SizeIs(1));
}

TEST_F(ConformedProject, AnEngineWithoutACacheSetsEmptyPaths) {
    const auto bare = Sonrel::Create(L"", L"", nullptr, Sonrel::LogOption::WriteErrorLog);
    const auto asked = AddMedia("a.wav");

    SetAudioSamplesAvailable(project, bare, true);

    EXPECT_TRUE(asked->AudioStream()->SamplesAvailable());
    EXPECT_EQ(asked->AudioStream()->ConformedFilePath(), L"");
    EXPECT_THAT(media.Calls(), IsEmpty());
}

TEST_F(ConformedProject, FailuresAreInTheEnginesLog) {
    AddMedia("a.wav");
    media.prepare = [] { return 1; };

    SetAudioSamplesAvailable(project, engine, true);

    const auto lines = sonrel_tests::ReadLines(folder / "CacheErrorLog.txt");
    ASSERT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines[0], testing::HasSubstr("] Could not save: " + (folder / "a.wav").string()));
}

}  // namespace
