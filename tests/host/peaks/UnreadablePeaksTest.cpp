// SPDX-License-Identifier: MIT
// Sound that cannot be read is never recorded or drawn as silence.
#include <gmock/gmock.h>

#include "tests/host/UnreadableRig.h"

namespace sonrel_tests {
namespace {

using testing::HasSubstr;

/// Media files whose peaks are made in one pass, and in four tasks.
class UnreadablePeaks : public UnreadableMedia, public testing::WithParamInterface<int> {
protected:
    void SetUp() override {
        UnreadableMedia::SetUp();
        WriteFile(shop_.Work("a.wav"), ConformedFileBytes(GetParam(), 8000));
    }

    Fault OfTheMediaFile() const { return {shop_.Path("work"), "read", "a.wav"}; }
};

TEST_P(UnreadablePeaks, AReadErrorKeepsNoRecordAndNoFile) {
    ASSERT_EQ(shop_.Run({"peaks", "@a.wav"}).exitCode, 0);
    const std::string whole = ReadFile(CacheFiles(".xwpk").at(0));
    int failures = 0;
    for (int number = 1;; ++number) {
        fs::remove_all(shop_.Path("cache"));
        const DisturbedRun run = RunWithFault(shop_, OfTheMediaFile(), number, {"peaks", "@a.wav"});
        if (!run.wasHit) break;
        if (run.result.exitCode == 0) {
            EXPECT_EQ(ReadFile(CacheFiles(".xwpk").at(0)), whole) << number;
            continue;
        }
        ++failures;
        EXPECT_EQ(run.result.exitCode, 1) << number;
        EXPECT_TRUE(run.result.HasOneErrorLine()) << run.result.err;
        EXPECT_THAT(run.result.err, HasSubstr("a.wav"));
        EXPECT_TRUE(!fs::exists(shop_.Path("cache")) || CacheFiles(".xwpk").empty()) << number;

        const ProgramResult next = shop_.Run({"peaks", "@a.wav", "--json"});
        EXPECT_EQ(next.Json().at("files").at(0).at("status"), "made") << number;
        EXPECT_EQ(ReadFile(CacheFiles(".xwpk").at(0)), whole) << number;
    }
    EXPECT_GT(failures, 4);
}

TEST_P(UnreadablePeaks, AReadErrorIsReportedWithItsPosition) {
    const Fault all{shop_.Path("work"), "read", "a.wav", "EIO", "all"};
    std::string errors;
    for (int number = 1;; ++number) {
        const DisturbedRun run = RunWithFault(
            shop_, all, number, {"peaks", "@a.wav", "-o", "@out/a.xwpk", "--overwrite"});
        if (!run.wasHit) break;
        errors += run.result.err;
        EXPECT_EQ(run.result.exitCode, 1) << number;
        EXPECT_TRUE(TakeOutputs().empty()) << number;
    }
    EXPECT_THAT(errors, HasSubstr("cannot create the peak file of '" +
                                  shop_.Work("a.wav").string() + "': it cannot be read at byte "));
    EXPECT_THAT(errors, HasSubstr(": Input/output error\n"));
}

TEST_P(UnreadablePeaks, AReadErrorKeepsTheOldFileOfAForcedRun) {
    ASSERT_EQ(shop_.Run({"peaks", "@a.wav"}).exitCode, 0);
    const fs::path old = CacheFiles(".xwpk").at(0);
    const std::string whole = ReadFile(old);
    const Fault all{shop_.Path("work"), "read", "a.wav", "EIO", "all"};
    for (int number = 1;; ++number) {
        const DisturbedRun run = RunWithFault(shop_, all, number, {"peaks", "@a.wav", "--force"});
        if (!run.wasHit) break;
        EXPECT_EQ(run.result.exitCode, 1) << number;
        EXPECT_TRUE(run.result.HasOneErrorLine()) << run.result.err;
        ASSERT_EQ(CacheFiles(".xwpk"), std::vector{old}) << number;
        EXPECT_EQ(ReadFile(old), whole) << number;
    }
    const ProgramResult next = shop_.Run({"peaks", "@a.wav", "--json"});
    EXPECT_NE(next.Json().at("files").at(0).at("path"), old.string());
    EXPECT_EQ(next.Json().at("files").at(0).at("status"), "found");
}

TEST_P(UnreadablePeaks, AReadErrorLeavesNoPicture) {
    const Arguments command{"waveform", "@a.wav", "-o", "@out/w.png", "--size", "200x50"};
    ASSERT_EQ(shop_.Run(command).exitCode, 0);
    const auto picture = TakeOutputs();
    int failures = 0;
    for (int number = 1;; ++number) {
        fs::remove_all(shop_.Path("cache"));
        const DisturbedRun run = RunWithFault(shop_, OfTheMediaFile(), number, command);
        if (!run.wasHit) break;
        const auto left = TakeOutputs();
        if (run.result.exitCode == 0) {
            EXPECT_EQ(left, picture) << number;
            continue;
        }
        ++failures;
        EXPECT_EQ(run.result.exitCode, 1) << number;
        EXPECT_TRUE(run.result.HasOneErrorLine()) << run.result.err;
        EXPECT_TRUE(left.empty()) << number;
    }
    EXPECT_GT(failures, 4);
}

TEST_P(UnreadablePeaks, APeakFileThatCannotBeCreatedLeavesNoReport) {
    for (const char* const input : {"@a.wav", "@edit.otio"}) {
        const Fault fault{shop_.Path("cache"), "create", "*.xwpk", "EACCES"};
        const DisturbedRun run =
            RunWithFault(shop_, fault, 1, {"report", input, "-o", "@out/a.html"});

        ASSERT_TRUE(run.wasHit);
        EXPECT_EQ(run.result.exitCode, 1);
        EXPECT_TRUE(run.result.HasOneErrorLine()) << run.result.err;
        EXPECT_THAT(run.result.err, HasSubstr("cannot create the peak file of '"));
        EXPECT_TRUE(TakeOutputs().empty());
    }
}

INSTANTIATE_TEST_SUITE_P(Lengths, UnreadablePeaks, testing::Values(100000, 250000),
                         [](const testing::TestParamInfo<int>& test) {
                             return test.param < 240000 ? "OnePass" : "FourTasks";
                         });

}  // namespace
}  // namespace sonrel_tests
