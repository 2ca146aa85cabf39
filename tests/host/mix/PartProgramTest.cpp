// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <array>
#include <utility>

#include "tests/host/FaultRun.h"
#include "tests/host/ShellRun.h"
#include "tests/host/mix/NestedEdit.h"

namespace sonrel_tests {
namespace {

constexpr int MIX_PARTS = 3;

class PartProgram : public testing::Test {
protected:
    void SetUp() override { WriteNestedEdit(shop_); }

    static std::string PartName(int number) { return "@p" + std::to_string(number) + ".wav"; }

    ProgramResult Mix(const std::string& output, std::vector<std::string> more) const {
        more.insert(more.begin(), {"mix", "@edit.otio", "-o", output, "--json"});
        return shop_.Run(more);
    }

    void MixPart(int number, std::vector<std::string> more = {}) const {
        more.insert(more.end(),
                    {"--part", std::to_string(number) + "/" + std::to_string(MIX_PARTS)});
        const ProgramResult result = Mix(PartName(number), more);
        ASSERT_EQ(result.exitCode, 0) << result.err;
    }

    ProgramResult Join(std::vector<std::string> parts, std::vector<std::string> more = {}) const {
        parts.insert(parts.begin(), "join");
        parts.insert(parts.end(), {"-o", "@joined.wav", "--json"});
        parts.insert(parts.end(), more.begin(), more.end());
        return shop_.Run(parts);
    }

    /// The keys that a mix in one piece and its joined parts have in common.
    static std::string Measured(const ProgramResult& result) {
        const nlohmann::json report = result.Json();
        nlohmann::json measured;
        for (const char* key : {"samples", "rate", "fps", "grid", "tracks", "master", "loudness"}) {
            measured[key] = report.at(key);
        }
        return measured.dump();
    }

    void ExpectRefused(const ProgramResult& result, const std::string& words) const {
        EXPECT_EQ(result.exitCode, 1) << words;
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
        EXPECT_FALSE(std::filesystem::exists(shop_.Work("joined.wav"))) << words;
    }

    const Workshop shop_;
};

TEST_F(PartProgram, PartsJoinedInAnyOrderAreTheMixInOnePieceWithItsMetersAndLoudness) {
    const std::vector<std::string> options{"--dither", "triangular", "--seed",
                                           "4",        "--from",     "555smp"};
    std::vector<std::string> whole = options;
    whole.insert(whole.end(), {"--meters", "@whole.json"});
    const ProgramResult mix = Mix("@whole.wav", whole);
    ASSERT_EQ(mix.exitCode, 0) << mix.err;
    for (const int number : {2, 1, 3}) MixPart(number, options);

    const ProgramResult join =
        Join({PartName(3), PartName(1), PartName(2)}, {"--meters", "@joined.json"});

    ASSERT_EQ(join.exitCode, 0) << join.err;
    EXPECT_TRUE(ReadFile(shop_.Work("joined.wav")) == ReadFile(shop_.Work("whole.wav")));
    EXPECT_TRUE(ReadFile(shop_.Work("joined.json")) == ReadFile(shop_.Work("whole.json")));
    EXPECT_EQ(Measured(join), Measured(mix));
}

TEST_F(PartProgram, PartsWithTheGainOfAFirstRunAreTheNormalizedMix) {
    const ProgramResult mix = Mix("@whole.wav", {"--normalize", "-27"});
    ASSERT_EQ(mix.exitCode, 0) << mix.err;
    const std::string gain = mix.Json().at("normalization").at("gain").dump();
    for (int number = 1; number <= MIX_PARTS; ++number) MixPart(number, {"--gain", gain});

    ASSERT_EQ(Join({PartName(1), PartName(2), PartName(3)}).exitCode, 0);

    EXPECT_TRUE(ReadFile(shop_.Work("joined.wav")) == ReadFile(shop_.Work("whole.wav")));
}

TEST_F(PartProgram, AMissingARepeatedAndAForeignPartAreRefused) {
    for (int number = 1; number <= MIX_PARTS; ++number) MixPart(number);
    std::filesystem::copy(shop_.Work("p2.wav"), shop_.Work("again.wav"));
    ASSERT_EQ(Mix("@foreign.wav", {"--part", "2/3", "--seed", "7"}).exitCode, 0);

    ExpectRefused(Join({PartName(3), PartName(1)}), "part 2 of 3 is missing");
    ExpectRefused(Join({PartName(1), PartName(2), "@again.wav", PartName(3)}),
                  "part 2 is there twice");
    ExpectRefused(Join({PartName(1), "@foreign.wav", PartName(3)}), "another --seed");
    ExpectRefused(Join({PartName(1), "@a.wav", PartName(3)}), "a.wav' as a part");
    ExpectRefused(Join({PartName(1), "@nowhere.wav"}), "nowhere.wav'");
}

TEST_F(PartProgram, APartOfAFolderWithAnotherTimelineIsRefused) {
    for (const int number : {1, 2}) {
        const std::string folder = "edit" + std::to_string(number) + ".otiod";
        std::filesystem::create_directory(shop_.Work(folder));
        std::filesystem::copy(shop_.Work("a.wav"), shop_.Work(folder));
        const Json clip = Clip("a.wav", number, 20);
        WriteFile(shop_.Work(folder + "/content.otio"), Timeline({Track({clip})}).dump());
        const ProgramResult part = shop_.Run(
            {"mix", "@" + folder, "-o", PartName(number), "--part", std::to_string(number) + "/2"});
        ASSERT_EQ(part.exitCode, 0) << part.err;
    }

    ExpectRefused(Join({PartName(1), PartName(2)}), "another timeline");
}

TEST_F(PartProgram, APartThatWasCutShortOrDamagedIsRefused) {
    for (int number = 1; number <= MIX_PARTS; ++number) MixPart(number);
    const std::string part = ReadFile(shop_.Work("p2.wav"));
    const std::size_t manifest = part.rfind("snrl");
    const std::size_t meters = part.rfind("smtr");
    ASSERT_LT(manifest, meters);
    for (const std::size_t size :
         std::array{std::size_t(0), std::size_t(20), manifest / 2, manifest, manifest + 30, meters,
                    meters + 20, part.size() - 1}) {
        WriteFile(shop_.Work("p2.wav"), part.substr(0, size));
        ExpectRefused(Join({PartName(1), PartName(2), PartName(3)}), "p2.wav'");
    }
    std::string damaged = part;
    damaged[manifest / 2] = static_cast<char>(damaged[manifest / 2] ^ 1);
    WriteFile(shop_.Work("p2.wav"), damaged);
    ExpectRefused(Join({PartName(1), PartName(2), PartName(3)}), "damaged");
}

TEST_F(PartProgram, AJoinThatIsRefusedKeepsTheFileOfItsName) {
    MixPart(1);
    WriteFile(shop_.Work("joined.wav"), "old");

    EXPECT_EQ(Join({PartName(1)}).exitCode, 1);

    EXPECT_EQ(ReadFile(shop_.Work("joined.wav")), "old");
}

TEST_F(PartProgram, APlanThatCannotBeDividedIsRefusedAndPrintsNoCommand) {
    struct Refused {
        std::vector<std::string> plan;
        int exitCode;
    };
    for (const Refused& refused : std::vector<Refused>{
             {{"mix", "@edit.otio", "--shards", "0"}, 2},
             {{"mix", "@edit.otio", "--shards", "100001"}, 2},
             {{"mix", "@a.wav", "--shards", "2"}, 2},
             {{"mix", "-"}, 2},
             {{"mix"}, 2},
             {{"play", "@edit.otio"}, 2},
             {{"conform", "@a.wav", "-o", "@"}, 2},
             {{"mix", "@edit.otio", "--for", "slurm", "--joins"}, 2},
             {{"mix", "@nowhere.otio"}, 1},
         }) {
        std::vector<std::string> words = refused.plan;
        words.insert(words.begin(), "plan");
        const ProgramResult result = shop_.RunBare(words);
        EXPECT_EQ(result.exitCode, refused.exitCode) << result.err;
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_EQ(result.out, "");
    }
}

/// A part whose manifest has another text in one place.
std::string WithManifest(const std::string& part, const std::string& before,
                         const std::string& after) {
    const std::size_t chunk = part.rfind("snrl");
    const std::size_t meters = part.rfind("smtr");
    std::string manifest = part.substr(chunk + 8, meters - chunk - 8);
    while (manifest.back() == '\0') manifest.pop_back();
    const std::size_t place = manifest.find(before);
    EXPECT_NE(place, std::string::npos) << manifest;
    manifest.replace(place, before.size(), after);
    return part.substr(0, chunk) + Chunk("snrl", manifest) + part.substr(meters);
}

TEST_F(PartProgram, AManifestWithImpossibleNumbersIsRefusedWithoutUsingMemoryForThem) {
    ASSERT_EQ(Mix("@p1.wav", {"--part", "1/1"}).exitCode, 0);
    const std::string part = ReadFile(shop_.Work("p1.wav"));
    const std::string header = "RF64" + std::string(16, '\xFF');
    for (const auto& [before, after, words] : std::vector<std::array<std::string, 3>>{
             {"\"part\":1,\"parts\":1", "\"part\":1,\"parts\":2000000000", "part"},
             {"\"part\":1", "\"part\":4294967297", "part"},
             {"\"part\":1", "\"part\":0", "part"},
             {"\"meterBlockFrames\":", "\"meterBlockFrames\":1,\"x\":", "meterBlockFrames"}}) {
        WriteFile(shop_.Work("p1.wav"), WithManifest(part, before, after));
        const int code = RunBash(shop_,
                                 "ulimit -v 2000000; \\$sonrel join p1.wav -o joined.wav "
                                 "2>error");

        EXPECT_EQ(code, 1) << after;
        EXPECT_NE(ReadFile(shop_.Work("error")).find("its manifest has a wrong " + words),
                  std::string::npos)
            << ReadFile(shop_.Work("error"));
    }
    WriteFile(shop_.Work("p1.wav"), header + part.substr(header.size()));
    ExpectRefused(Join({"@p1.wav"}), "p1.wav'");
}

TEST_F(PartProgram, MorePartsThanDescriptorsAreJoined) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer needs descriptors";
#endif
    constexpr int PARTS = 20;
    std::string names;
    for (int number = 1; number <= PARTS; ++number) {
        const std::string name = "part" + std::to_string(number) + ".wav";
        const std::string share = std::to_string(number) + "/" + std::to_string(PARTS);
        ASSERT_EQ(Mix("@" + name, {"--part", share}).exitCode, 0);
        names += " " + name;
    }
    ASSERT_EQ(Mix("@whole.wav", {}).exitCode, 0);

    EXPECT_EQ(RunBash(shop_, "ulimit -n 20; \\$sonrel join" + names + " -o joined.wav >report"), 0);

    EXPECT_TRUE(ReadFile(shop_.Work("joined.wav")) == ReadFile(shop_.Work("whole.wav")));
}

TEST_F(PartProgram, InterruptedAndShortCallsOnAPartAreContinued) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer must be the first library";
#endif
    ASSERT_EQ(Mix("@p1.wav", {"--part", "1/1"}).exitCode, 0);
    ASSERT_EQ(Mix("@whole.wav", {}).exitCode, 0);
    for (const auto& [operation, mode] :
         {std::pair{"open", "storm"}, std::pair{"read", "storm"}, std::pair{"read", "short"},
          std::pair{"close", "storm"}}) {
        Fault fault{shop_.Path("work"), operation, "p1.wav", "EINTR", "1"};
        fault.mode = mode;
        for (int number = 1; number <= 2; ++number) {
            const DisturbedRun run = RunWithFault(
                shop_, fault, number, {"join", "@p1.wav", "-o", "@joined.wav", "--overwrite"});

            EXPECT_TRUE(run.wasHit) << operation << number;
            EXPECT_EQ(run.result.exitCode, 0) << run.result.err;
            EXPECT_TRUE(ReadFile(shop_.Work("joined.wav")) == ReadFile(shop_.Work("whole.wav")));
        }
    }
}

TEST_F(PartProgram, AReadErrorOfAPartIsReportedWithItsReason) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer must be the first library";
#endif
    ASSERT_EQ(Mix("@p1.wav", {"--part", "1/1"}).exitCode, 0);
    const Fault fault{shop_.Path("work"), "read", "p1.wav"};
    for (int number = 1;; ++number) {
        const DisturbedRun run =
            RunWithFault(shop_, fault, number, {"join", "@p1.wav", "-o", "@joined.wav"});
        if (!run.wasHit) {
            EXPECT_GT(number, 4);
            break;
        }
        ExpectRefused(run.result,
                      "cannot read '" + shop_.Work("p1.wav").string() + "': Input/output error");
    }
}

TEST_F(PartProgram, TheLinesOfAPlanMixAndJoinInAShell) {
    ASSERT_EQ(Mix("@whole.wav", {}).exitCode, 0);
    const std::string name = "a reel's edit";
    std::filesystem::copy(shop_.Work("edit.otio"), shop_.Work(name + ".otio"));
    for (const char* kind : {"--for=parallel", "--joins"}) {
        const ProgramResult plan =
            shop_.RunBare({"plan", "mix", "@" + name + ".otio", "--shards", "2", "-o", "@",
                           "--pass=--cache=../cache", "--pass=--db=../media.db", kind});
        ASSERT_EQ(plan.exitCode, 0) << plan.err;
        WriteFile(shop_.Work("plan.sh"), plan.out);
        ASSERT_EQ(RunBash(shop_,
                          "sonrel() { " SONREL_PROGRAM " \\\"\\$@\\\"; }; . ./plan.sh > /dev/null"),
                  0)
            << plan.out;
    }

    EXPECT_TRUE(ReadFile(shop_.Work(name + ".wav")) == ReadFile(shop_.Work("whole.wav")));
}

TEST_F(PartProgram, OptionsThatNeedTheWholeMixAreWrongUsage) {
    for (const std::vector<std::string>& options : std::vector<std::vector<std::string>>{
             {"--normalize", "-23"},
             {"--stems", "@stems"},
             {"--meters", "@m.json"},
             {"--seed", "random"},
             {"--manifest", "@mix.json"},
         }) {
        std::vector<std::string> all{"--part", "1/2"};
        all.insert(all.end(), options.begin(), options.end());
        const ProgramResult result = Mix("@out.wav", all);
        EXPECT_EQ(result.exitCode, 2) << options[0];
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    }
    for (const char* part : {"0/2", "3/2", "1", "/2", "1/x", "1/1000000"}) {
        EXPECT_EQ(Mix("@out.wav", {"--part", part}).exitCode, 2) << part;
    }
    EXPECT_EQ(Mix("@out.wav", {"--part", "1/90000"}).exitCode, 2) << "more parts than frames";
    EXPECT_EQ(Mix("@out.flac", {"--part", "1/2"}).exitCode, 2);
    EXPECT_FALSE(std::filesystem::exists(shop_.Work("out.wav")));
}

}  // namespace
}  // namespace sonrel_tests
