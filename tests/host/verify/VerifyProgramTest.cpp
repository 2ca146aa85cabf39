// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tests/host/mix/NestedEdit.h"
#include "tests/host/verify/ManifestFile.h"
#include "tests/support/ZipBytes.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;

class VerifyProgram : public testing::Test {
protected:
    void SetUp() override { WriteNestedEdit(shop_); }

    /// Mixes, with a manifest mix.json.
    nlohmann::json Mix(const std::string& input, const std::vector<std::string>& more = {}) const {
        std::vector<std::string> words{"mix", input, "-o", "@mix.wav", "--manifest", "@mix.json"};
        words.insert(words.end(), more.begin(), more.end());
        const ProgramResult result = shop_.Run(words);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return ReadManifestFile(shop_.Work("mix.json"));
    }

    ProgramResult Verify(const std::vector<std::string>& more = {}) const {
        std::vector<std::string> words{"verify", "@mix.json", "--json"};
        words.insert(words.end(), more.begin(), more.end());
        return shop_.Run(words);
    }

    void ExpectEqual(const std::vector<std::string>& more = {}) const {
        const ProgramResult result = Verify(more);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.Json().at("equal"), true);
    }

    /// Expects exit 1 and one line with these words.
    void ExpectRefused(const std::string& words) const {
        const ProgramResult result = Verify();
        EXPECT_EQ(result.exitCode, 1) << words;
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
    }

    std::string HashOfSound(const std::string& name) const {
        return Sha256Of(SampleBytes(shop_.Work(name)));
    }

    Workshop shop_;
};

TEST_F(VerifyProgram, TheHashesAreThoseOfTheFilesAndTheSamples) {
    const nlohmann::json manifest =
        Mix("@edit.otio", {"--stems", "@stems", "--normalize", "-30", "--from", "0.4"});

    EXPECT_EQ(manifest.at("input").at("sha256"), Sha256Of(ReadFile(shop_.Work("edit.otio"))));
    EXPECT_EQ(manifest.at("input").at("relative"), "edit.otio");
    EXPECT_EQ(manifest.at("samples").at("sha256"), HashOfSound("mix.wav"));
    ASSERT_EQ(manifest.at("stems").size(), 3u);
    EXPECT_EQ(manifest.at("stems")[0].at("sha256"), HashOfSound("stems/01-Voice.wav"));
    EXPECT_EQ(manifest.at("stems")[2].at("sha256"), HashOfSound("stems/03-Fast.wav"));
    ASSERT_EQ(manifest.at("media").size(), 2u);
    const std::string media = ReadFile(shop_.Work("b.wav"));
    EXPECT_EQ(manifest.at("media")[0].at("path"), shop_.Work("b.wav").string());
    EXPECT_EQ(manifest.at("media")[0].at("sha256"), Sha256Of(media));
    EXPECT_EQ(manifest.at("media")[0].at("size"), media.size());
    EXPECT_EQ(manifest.at("options"), (nlohmann::json{{"normalize", "-30"}, {"from", "0.4"}}));
    ExpectEqual();
}

TEST_F(VerifyProgram, TheVersionsAreThatOfTheProgramAndOfWhatItLoads) {
    const nlohmann::json versions = Mix("@edit.otio").at("versions");

    EXPECT_EQ("sonrel " + versions.at("program").get<std::string>() + "\n",
              shop_.RunBare({"--version"}).out);
    EXPECT_EQ(versions.at("library"), versions.at("program"));
    EXPECT_TRUE(versions.at("ffmpeg").is_string());
    WriteFile(shop_.Work("edit.otio"), Timeline({Track({Gap(25)})}).dump());
    EXPECT_EQ(Mix("@edit.otio").at("versions").at("ffmpeg"), nullptr);
}

TEST_F(VerifyProgram, AManifestDoesNotDependOnTheNumberOfJobsAndItsHashNotOnTheFormat) {
    Mix("@edit.otio", {"--stems", "@stems", "--jobs", "1"});
    const std::string one = ReadFile(shop_.Work("mix.json"));
    const nlohmann::json three = Mix("@edit.otio", {"--stems", "@stems", "--jobs", "3"});
    EXPECT_TRUE(ReadFile(shop_.Work("mix.json")) == one);

    for (const char* name : {"@mix.flac", "/dev/null"}) {
        const ProgramResult other =
            shop_.Run({"mix", "@edit.otio", "-o", name, "--manifest", "@other.json"});
        ASSERT_EQ(other.exitCode, 0) << other.err;
        EXPECT_EQ(ReadManifestFile(shop_.Work("other.json")).at("samples"), three.at("samples"));
    }
}

TEST_F(VerifyProgram, AMovedFolderIsVerifiedFromAnyFolder) {
    Mix("@edit.otio");
    fs::rename(shop_.Path("work"), shop_.Path("moved"));

    const ProgramResult result = shop_.Run({"verify", shop_.Path("moved/mix.json").string()});

    EXPECT_EQ(result.exitCode, 0) << result.err;
}

TEST_F(VerifyProgram, ATimelineThatIsNotNextToTheManifestIsNamed) {
    Mix("@edit.otio");
    fs::rename(shop_.Work("edit.otio"), shop_.Work("renamed.otio"));

    ExpectRefused("edit.otio'");
}

TEST_F(VerifyProgram, MediaInAnotherFolderAreFoundWithMediaRoot) {
    Json document = Timeline({Track({Clip(shop_.Work("a.wav").string(), 0, 25)})});
    WriteFile(shop_.Work("edit.otio"), document.dump());
    Mix("@edit.otio");
    fs::create_directory(shop_.Path("elsewhere"));
    fs::rename(shop_.Work("a.wav"), shop_.Path("elsewhere/a.wav"));

    ExpectRefused("--media-root");
    ExpectEqual(
        {"--media-root", shop_.Path("work").string() + "=" + shop_.Path("elsewhere").string()});
}

TEST_F(VerifyProgram, MissingMediaThatWereAllowedAreMissingAgain) {
    fs::rename(shop_.Work("a.wav"), shop_.Work("kept.wav"));
    const nlohmann::json manifest = Mix("@edit.otio", {"--allow-missing"});
    EXPECT_EQ(manifest.at("media")[1].at("sha256"), nullptr);
    ExpectEqual();

    fs::rename(shop_.Work("kept.wav"), shop_.Work("a.wav"));
    EXPECT_TRUE(KindsOfChanges(Verify()).contains("media"));
}

TEST_F(VerifyProgram, AMediaFileIsVerifiedWithItsSound) {
    const nlohmann::json copied = Mix("@a.wav", {"--channels", "2", "--to", "1"});
    EXPECT_EQ(copied.at("input").at("kind"), "media");
    EXPECT_EQ(copied.at("mix").at("seed"), nullptr);
    EXPECT_EQ(copied.at("samples").at("sha256"), HashOfSound("mix.wav"));
    EXPECT_EQ(copied.at("media")[0].at("ranges"), R"([{"from": 0.0, "to": 1.0}])"_json);
    ExpectEqual();

    const nlohmann::json mixed = Mix("@a.wav", {"--gain", "-3", "--seed", "8"});
    EXPECT_EQ(mixed.at("mix").at("seed"), 8);
    ExpectEqual();
}

TEST_F(VerifyProgram, ANestedItemIsVerified) {
    const nlohmann::json manifest = Mix("@edit.otio", {"--composition", "scene"});

    EXPECT_EQ(manifest.at("tracks"), nlohmann::json::array());
    ExpectEqual();
}

TEST_F(VerifyProgram, OfAnArchiveAndAFolderTheDocumentIsHashed) {
    const std::string document = Timeline({Track({Clip("media/a.wav", 0, 25)})}).dump();
    const std::string sound = ReadFile(shop_.Work("a.wav")).substr(0, 60000);
    WriteFile(shop_.Work("edit.otioz"),
              ZipBytes({{"content.otio", document, DEFLATED}, {"media/a.wav", sound}}));
    fs::create_directories(shop_.Work("edit.otiod/media"));
    WriteFile(shop_.Work("edit.otiod/content.otio"), document);
    WriteFile(shop_.Work("edit.otiod/media/a.wav"), sound);

    for (const std::string name : {"edit.otioz", "edit.otiod"}) {
        const nlohmann::json manifest = Mix("@" + name);
        EXPECT_EQ(manifest.at("input").at("sha256"), Sha256Of(document));
        EXPECT_EQ(manifest.at("media")[0].at("path"), (shop_.Work(name) / "media/a.wav").string());
        EXPECT_EQ(manifest.at("media")[0].at("sha256"), Sha256Of(sound));
        ExpectEqual();
    }
}

// A media file of the same size and time has the same fingerprint, and so its old conformed file.
TEST_F(VerifyProgram, AStaleCacheIsFoundUnlessTheCacheIsUsed) {
    Mix("@edit.otio");
    const auto time = fs::last_write_time(shop_.Work("a.wav"));
    WriteFile(shop_.Work("a.wav"), NoiseWav(96000, 3));
    fs::last_write_time(shop_.Work("a.wav"), time);
    const nlohmann::json stale = Mix("@edit.otio");

    const ProgramResult result = Verify();

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(KindsOfChanges(result).contains("samples"));
    EXPECT_FALSE(KindsOfChanges(result).contains("media"));
    EXPECT_EQ(stale.at("media")[1].at("sha256"), Sha256Of(ReadFile(shop_.Work("a.wav"))));
    ExpectEqual({"--cached"});
}

TEST_F(VerifyProgram, NeitherCacheNorOutputIsWritten) {
    Mix("@edit.otio", {"--stems", "@stems"});
    fs::remove_all(shop_.Path("cache"));
    fs::remove(shop_.Path("media.db"));
    fs::remove_all(shop_.Work("stems"));
    const auto files = NamesIn(shop_.Work(""));

    ExpectEqual();

    EXPECT_FALSE(fs::exists(shop_.Path("cache")));
    EXPECT_FALSE(fs::exists(shop_.Path("media.db")));
    EXPECT_EQ(NamesIn(shop_.Work("")), files);
}

TEST_F(VerifyProgram, AnEditedManifestIsRefusedWithItsKey) {
    Mix("@edit.otio", {"--seed", "4"});
    const std::string good = ReadFile(shop_.Work("mix.json"));
    const std::vector<std::pair<const char*, const char*>> edits = {
        {R"([{"op": "remove", "path": "/samples/sha256"}])", "samples.sha256 is missing"},
        {R"([{"op": "remove", "path": "/format"}])", "format is missing"},
        {R"([{"op": "replace", "path": "/format", "value": 2}])", "format is 2"},
        {R"([{"op": "replace", "path": "/input/path", "value": 7}])", "input.path is not a text"},
        {R"([{"op": "replace", "path": "/mix/seed", "value": 0}])",
         "mix.seed is not a whole number from 1 to 4294967295"},
        {R"([{"op": "replace", "path": "/mix/gain", "value": 1e9}])", "mix.gain"},
        {R"([{"op": "replace", "path": "/mix/dither", "value": "loud"}])", "mix.dither"},
        {R"([{"op": "replace", "path": "/media/1/sha256", "value": "abc"}])", "media[1].sha256"},
        {R"([{"op": "replace", "path": "/media/0/ranges/0/from", "value": -1}])",
         "media[0].ranges[0].from"},
        {R"([{"op": "replace", "path": "/tracks/0/peak", "value": [1]}])", "tracks[0].peak"},
        {R"([{"op": "replace", "path": "/master", "value": []}])", "master is not an object"},
        {R"([{"op": "replace", "path": "/options", "value": []}])", "options is not an object"},
        {R"([{"op": "add", "path": "/options/seed", "value": "0"}])", "--seed: '0' is not"},
        {R"([{"op": "add", "path": "/options/seed", "value": true}])", "--seed has a value"},
        {R"([{"op": "add", "path": "/options/seed", "value": 4}])", "options.seed is not"},
        {R"([{"op": "add", "path": "/options/loud", "value": "1"}])", "--loud is unknown"},
        {R"([{"op": "add", "path": "/options/output", "value": "x"}])", "--output is unknown"},
        {R"([{"op": "add", "path": "/options/stems", "value": "x"}])", "options.stems does not"},
        {R"([{"op": "add", "path": "/options/from", "value": "9999"}])", "--from"},
        {R"([{"op": "add", "path": "/options/composition", "value": "nothing"}])", "'nothing'"},
        {R"([{"op": "replace", "path": "", "value": 4}])", "the document is not an object"},
    };
    for (const auto& [edit, words] : edits) {
        const auto manifest = nlohmann::json::parse(good).patch(nlohmann::json::parse(edit));
        WriteFile(shop_.Work("mix.json"), manifest.dump());
        ExpectRefused(words);
    }
}

TEST_F(VerifyProgram, AFileThatIsNoManifestIsRefused) {
    ExpectRefused("mix.json': No such file");
    WriteFile(shop_.Work("mix.json"), R"({"format": 1, )");
    ExpectRefused("invalid JSON at line 1");
    WriteFile(shop_.Work("mix.json"), ReadFile(shop_.Work("edit.otio")));
    ExpectRefused("format is missing");
    fs::remove(shop_.Work("mix.json"));
    fs::create_directory(shop_.Work("mix.json"));
    ExpectRefused("not a regular file");
}

TEST_F(VerifyProgram, AManifestReplacesNoInputAndNoOtherOutput) {
    for (const char* name : {"@edit.otio", "@a.wav", "@out.wav", "@meters.json"}) {
        const ProgramResult result = shop_.Run({"mix", "@edit.otio", "-o", "@out.wav", "--meters",
                                                "@meters.json", "--manifest", name});
        EXPECT_EQ(result.exitCode, 2) << name;
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_FALSE(fs::exists(shop_.Work("out.wav"))) << name;
    }
    WriteFile(shop_.Work("old.json"), "old");
    fs::permissions(shop_.Work("old.json"), fs::perms::owner_read);
    const std::vector<std::string> mix{"mix",      "@edit.otio", "-o",
                                       "@out.wav", "--manifest", "@old.json"};
    EXPECT_EQ(shop_.Run(mix).exitCode, 1);
    EXPECT_EQ(ReadFile(shop_.Work("old.json")), "old");
}

TEST_F(VerifyProgram, OptionsThatCannotBeRepeatedAreWrongUsage) {
    const std::vector<std::vector<std::string>> lines = {
        {"mix", "@edit.otio", "-o", "@o.wav", "--manifest", "@m.json", "--seed", "random"},
        {"mix", "@edit.otio", "-o", "@o.wav", "--manifest", "@m.json", "--part", "1/2"},
        {"mix", "@edit.otio", "-o", "@o.wav", "--manifest", ""},
        {"verify", "@mix.json", "--rate", "44100"},
        {"verify", "@mix.json", "--fps", "25"},
        {"verify", "@mix.json", "--seed", "3"},
        {"verify"},
    };
    for (const std::vector<std::string>& line : lines) {
        const ProgramResult result = shop_.Run(line);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(line);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_FALSE(fs::exists(shop_.Work("o.wav"))) << testing::PrintToString(line);
    }
}

TEST_F(VerifyProgram, TheTextNamesEachChange) {
    Mix("@edit.otio", {"--stems", "@stems"});
    EditManifest(shop_.Work("mix.json"), Seal::Renewed, [](nlohmann::json& manifest) {
        manifest["stems"][1]["sha256"] = std::string(64, '0');
        manifest["master"]["peak"][1] = 0.125;
    });

    const ProgramResult result = shop_.Run({"verify", "@mix.json"});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_NE(result.out.find("  stems     stem 2 'Scene' has other samples\n"), std::string::npos)
        << result.out;
    EXPECT_NE(result.out.find("  levels    master.peak[1] differs\n"), std::string::npos)
        << result.out;
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
}

}  // namespace
}  // namespace sonrel_tests
