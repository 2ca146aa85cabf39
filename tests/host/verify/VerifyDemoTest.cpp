// SPDX-License-Identifier: MIT
// The demo of the tree, mixed with a manifest and verified.
#include <gtest/gtest.h>

#include "tests/host/verify/ManifestFile.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;

using Kinds = std::set<std::string>;

class VerifyDemo : public testing::Test {
protected:
    /// Copies the demo and its media files, and mixes its first seconds.
    void SetUp() override {
        fs::copy(SONREL_DEMO, shop_.Work("demo.otio"));
        for (const char* folder : {"sonic-pi/samples", "sounds/alsa"}) CopyMedia(folder);
        const ProgramResult mix = shop_.Run(
            {"mix", "@demo.otio", "-o", "@demo.flac", "--manifest", "@demo.json", "--seed", "5",
             "--to", "8", "--media-root", "/usr/share=" + shop_.Work("share").string()});
        ASSERT_EQ(mix.exitCode, 0) << mix.err;
    }

    void CopyMedia(const fs::path& folder) const {
        const std::string document = ReadFile(SONREL_DEMO);
        fs::create_directories(shop_.Work("share") / folder);
        for (const auto& entry : fs::directory_iterator("/usr/share" / folder)) {
            if (document.find(entry.path().filename()) == std::string::npos) continue;
            fs::copy(entry.path(), shop_.Work("share") / folder);
        }
    }

    ProgramResult Verify() const { return shop_.Run({"verify", "@demo.json", "--json"}); }

    /// Verifies, and expects changes of these kinds only.
    ProgramResult ExpectChanges(const Kinds& kinds, bool equalSamples) const {
        const ProgramResult result = Verify();
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_EQ(KindsOfChanges(result), kinds) << result.out;
        EXPECT_EQ(result.Json().at("equalSamples"), equalSamples);
        return result;
    }

    void ReplaceInTimeline(const std::string& text, const std::string& other) const {
        std::string document = ReadFile(shop_.Work("demo.otio"));
        const std::size_t place = document.find(text);
        ASSERT_NE(place, std::string::npos);
        WriteFile(shop_.Work("demo.otio"), document.replace(place, text.size(), other));
    }

    void Edit(Seal seal, const std::function<void(nlohmann::json&)>& edit) const {
        EditManifest(shop_.Work("demo.json"), seal, edit);
    }

    Workshop shop_;
};

TEST_F(VerifyDemo, IsEqual) {
    const ProgramResult result = Verify();

    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.Json().at("equal"), true);
    EXPECT_EQ(result.Json().at("changes"), nlohmann::json::array());
    EXPECT_EQ(result.Json().at("samples").at("count"), 8 * 48000);
}

TEST_F(VerifyDemo, AMediaFileWithAnotherContentOfTheSameSizeAndTimeIsAChangeOfMedia) {
    const fs::path file = shop_.Work("share/sounds/alsa/Front_Left.wav");
    const auto time = fs::last_write_time(file);
    std::string bytes = ReadFile(file);
    for (std::size_t i = bytes.size() / 2; i < bytes.size(); ++i) bytes[i] = 0;
    WriteFile(file, bytes);
    fs::last_write_time(file, time);

    const ProgramResult result = ExpectChanges({"media", "samples", "levels"}, false);
    EXPECT_NE(result.err.find("Front_Left.wav' has another content"), std::string::npos);
}

TEST_F(VerifyDemo, AnotherTimelineIsAChangeOfTheTimeline) {
    ReplaceInTimeline("\"masterLevel\": 1.5", "\"masterLevel\": 1.0");

    ExpectChanges({"timeline", "samples", "levels"}, false);
}

TEST_F(VerifyDemo, ARateThatFollowsFromAnotherTimelineIsNoChangeOfOptions) {
    ReplaceInTimeline("\"sampleRate\": 48000", "\"sampleRate\": 44100");

    ExpectChanges({"timeline", "samples", "levels"}, false);
}

TEST_F(VerifyDemo, AMediaFileInPlaceOfAnotherIsNamedAndSoIsTheOther) {
    const fs::path folder = shop_.Work("share/sounds/alsa");
    fs::copy(folder / "Front_Left.wav", folder / "Other.wav");
    ReplaceInTimeline("Front_Left.wav", "Other.wav");

    const ProgramResult result = ExpectChanges({"timeline", "media"}, true);
    EXPECT_NE(result.out.find("Front_Left.wav' is not used any more"), std::string::npos);
    EXPECT_NE(result.out.find("Other.wav' was not used"), std::string::npos);
}

TEST_F(VerifyDemo, AnEditedOptionIsAChangeOfOptions) {
    Edit(Seal::Renewed, [](nlohmann::json& manifest) { manifest["options"]["gain"] = "-6"; });

    const ProgramResult result = ExpectChanges({"options", "samples", "levels"}, false);
    EXPECT_EQ(KeysOfChanges(result, "options"), Kinds{"mix.gain"});
}

TEST_F(VerifyDemo, AnotherSeedIsAChangeOfOptionsAndOfSamples) {
    Edit(Seal::Renewed, [](nlohmann::json& manifest) { manifest["options"]["seed"] = "6"; });

    const ProgramResult result = ExpectChanges({"options", "samples", "levels"}, false);
    EXPECT_EQ(KeysOfChanges(result, "options"), Kinds{"mix.seed"});
}

TEST_F(VerifyDemo, AnotherVersionWithTheSameSamplesIsAChangeOfTheVersion) {
    Edit(Seal::Renewed, [](nlohmann::json& manifest) {
        manifest["versions"]["program"] = "0.0.1";
        manifest["versions"]["ffmpeg"] = "1.0";
    });

    const ProgramResult result = ExpectChanges({"version"}, true);
    EXPECT_EQ(KeysOfChanges(result, "version"), (Kinds{"versions.program", "versions.ffmpeg"}));
}

TEST_F(VerifyDemo, OtherSamplesFromTheSameInputsAreAChangeOfSamples) {
    Edit(Seal::Renewed,
         [](nlohmann::json& manifest) { manifest["samples"]["sha256"] = std::string(64, 'a'); });

    ExpectChanges({"samples"}, false);
}

TEST_F(VerifyDemo, AnEditThatChangesNothingElseIsAChangeOfTheManifest) {
    Edit(Seal::Kept, [](nlohmann::json& manifest) { manifest["media"][0]["size"] = 1; });

    ExpectChanges({"manifest"}, true);
}

TEST_F(VerifyDemo, WithoutAMediaFileItCannotBeRendered) {
    fs::remove(shop_.Work("share/sounds/alsa/Front_Left.wav"));

    const ProgramResult result = Verify();

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_NE(result.err.find("Front_Left.wav"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace sonrel_tests
