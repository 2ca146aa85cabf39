// SPDX-License-Identifier: MIT
// --jobs of the commands that make cache files.
#include "tests/host/align/AlignRig.h"

namespace sonrel_tests {
namespace {

class JobsProgram : public AlignProgram {
protected:
    JobsProgram() {
        const Sound talk = Talk(6, 1);
        for (int i = 0; i < 4; ++i) Write(Name(i), With(Hiss(8 + i, 2 + i), talk, 0.5 + 0.25 * i));
    }

    static std::string Name(int recording) { return std::to_string(recording) + ".wav"; }

    /// Runs a command on all recordings, with a new cache.
    ProgramResult RunWithJobs(const std::string& command, const std::string& jobs) {
        std::filesystem::remove_all(shop_.Path("cache"));
        std::filesystem::remove(shop_.Path("media.db"));
        std::vector<std::string> arguments{command, "--rate", "8000", "--json", "--jobs", jobs};
        for (int i = 0; i < 4; ++i) arguments.push_back("@" + Name(i));
        return shop_.Run(arguments);
    }

    static void ExpectWrongUsage(const ProgramResult& result) {
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    }
};

TEST_F(JobsProgram, PeakFilesHaveTheSameBytesAndOrderWithAnyNumberOfJobs) {
    std::vector<std::string> expected;
    for (const char* jobs : {"1", "2", "3"}) {
        const nlohmann::json files = RunWithJobs("peaks", jobs).Json().at("files");
        std::vector<std::string> bytes;
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(files.at(i).at("status"), "made") << jobs;
            EXPECT_EQ(files.at(i).at("media"), shop_.Work(Name(i)).string()) << jobs;
            bytes.push_back(ReadFile(files.at(i).at("path").get<std::string>()));
        }
        if (expected.empty()) expected = bytes;

        EXPECT_TRUE(bytes == expected) << jobs;
    }
}

TEST_F(JobsProgram, AnAlignmentHasTheSameResultWithAnyNumberOfJobs) {
    const std::string expected = RunWithJobs("align", "1").out;
    ASSERT_EQ(nlohmann::json::parse(expected).at("results").at(2).at("verdict"), "aligned");

    EXPECT_EQ(RunWithJobs("align", "2").out, expected);
    EXPECT_EQ(RunWithJobs("align", "3").out, expected);
}

TEST_F(JobsProgram, NoJobsAreWrongUsage) {
    ExpectWrongUsage(RunWithJobs("peaks", "0"));
    ExpectWrongUsage(RunWithJobs("align", "0"));
}

}  // namespace
}  // namespace sonrel_tests
