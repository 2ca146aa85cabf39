// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <map>
#include <thread>

#include "tests/host/mix/NestedEdit.h"

namespace sonrel_tests {
namespace {

class MixJobs : public testing::Test {
protected:
    void SetUp() override { WriteNestedEdit(shop_); }

    /// All files that a mix writes, by name, and its report.
    std::map<std::string, std::string> Mix(const std::vector<std::string>& more,
                                           const std::string& jobs) {
        std::filesystem::remove_all(shop_.Work("out"));
        std::filesystem::create_directory(shop_.Work("out"));
        std::vector<std::string> arguments{"mix",    "@edit.otio", "-o", "@out/mix.wav",
                                           "--json", "--jobs",     jobs};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ProgramResult result = shop_.Run(arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        std::map<std::string, std::string> files{{"report", result.out}};
        for (const std::string& name : NamesIn(shop_.Work("out"))) {
            files[name] = ReadFile(shop_.Work("out/" + name));
        }
        return files;
    }

    void ExpectSameWithAnyNumber(const std::vector<std::string>& more) {
        const std::map<std::string, std::string> expected = Mix(more, "1");
        for (const char* jobs : {"2", "3", "7"}) {
            const std::map<std::string, std::string> got = Mix(more, jobs);
            ASSERT_EQ(got.size(), expected.size()) << jobs;
            for (const auto& [name, bytes] : expected) {
                EXPECT_TRUE(got.at(name) == bytes) << name << " with " << jobs << " jobs";
            }
        }
    }

    Workshop shop_;
};

TEST_F(MixJobs, OfAnyNumberWriteTheSameMixStemsMetersAndReport) {
    ExpectSameWithAnyNumber({"--stems", "@out", "--meters", "@out/meters.json"});
}

TEST_F(MixJobs, OfAnyNumberWriteTheSameRangeWithTriangularDither) {
    ExpectSameWithAnyNumber({"--dither", "triangular", "--seed", "9", "--from", "1111smp", "--to",
                             "1.5s", "--meters", "@out/meters.json"});
}

TEST_F(MixJobs, OfAnyNumberNormalizeToTheSameMix) {
    ExpectSameWithAnyNumber({"--normalize", "-30", "--fps", "29.97"});
}

TEST_F(MixJobs, OfAnyNumberWriteTheSameNestedItem) {
    ExpectSameWithAnyNumber({"--composition", "scene", "--dither", "highpass"});
}

TEST_F(MixJobs, AnInterruptExits130AndKeepsTheOldFile) {
    WriteFile(shop_.Work("long.otio"),
              Timeline({Track({Clip("a.wav", 0, 50), Gap(3600 * 25)})}).dump());
    WriteFile(shop_.Work("out.wav"), "old");
    const std::vector<std::string> before = NamesIn(shop_.Path("work"));
    RunningProgram program =
        shop_.Start({"--progress", "json", "mix", "@long.otio", "-o", "@out.wav", "--jobs", "3"});
    while (program.ErrorSoFar().find("\"mix\"") == std::string::npos) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }

    kill(program.Id(), SIGINT);
    const ProgramResult result = program.Wait();

    EXPECT_EQ(result.exitCode, 130);
    EXPECT_NE(result.err.find("sonrel: interrupted"), std::string::npos);
    EXPECT_EQ(ReadFile(shop_.Work("out.wav")), "old");
    EXPECT_EQ(NamesIn(shop_.Path("work")), before);
}

TEST_F(MixJobs, BelowOneOrNoNumberAreWrongUsage) {
    for (const char* jobs : {"0", "-1", "257", "two"}) {
        for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
                 {"mix", "@edit.otio", "-o", "@out.wav", "--jobs", jobs},
                 {"conform", "@edit.otio", "--jobs", jobs},
                 {"verify", "@mix.json", "--jobs", jobs}}) {
            const ProgramResult result = shop_.Run(command);
            EXPECT_EQ(result.exitCode, 2) << command[0] << " " << jobs;
            EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        }
    }
    EXPECT_FALSE(std::filesystem::exists(shop_.Work("out.wav")));
}

}  // namespace
}  // namespace sonrel_tests
