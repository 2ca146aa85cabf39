// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tests/host/NumberedSound.h"
#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"

namespace sonrel_tests {
namespace {

/// A timeline of 60 frames that starts at 01:00:00:00. From frame 50 on its clip is 20 dB too loud.
class MixSummaryProgram : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("n.wav"), NumberedWave());
        Json document = Timeline({Named(
            Track({Clip("n.wav", 0, 50), WithOurs(Clip("n.wav", 80, 10), {{"audioLevel", 20}})}),
            "Voice of the person who explains the pictures, recorded in a second room")});
        document["global_start_time"] = Time(90000, 25);
        WriteFile(shop_.Work("edit.otio"), document.dump());
    }

    ProgramResult Mix(std::vector<std::string> more) {
        std::vector<std::string> arguments{"mix", "@edit.otio", "-o", "@out.wav"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return shop_.Run(arguments);
    }

    static bool Has(const ProgramResult& result, const std::string& text) {
        return result.out.find(text) != std::string::npos;
    }

    Workshop shop_;
};

TEST_F(MixSummaryProgram, ClippingIsTimesInsteadOfBlocks) {
    const ProgramResult result = Mix({});

    EXPECT_FALSE(Has(result, "block")) << result.out;
    EXPECT_TRUE(Has(result, "    clips from 01:00:02:00 to 01:00:02:10, both\n")) << result.out;
    EXPECT_TRUE(Has(result, "  attention  the mix clips from 01:00:02:00 to 01:00:02:10\n"))
        << result.out;
    EXPECT_TRUE(Has(result, "right, clips at 1 place\n")) << result.out;
}

TEST_F(MixSummaryProgram, FailOnClipNamesTheTimes) {
    const ProgramResult result = Mix({"--fail-on-clip"});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_NE(result.err.find("clips from 01:00:02:00 to 01:00:02:10; lower the levels"),
              std::string::npos)
        << result.err;
}

TEST_F(MixSummaryProgram, SeveralPlacesAreTheirNumberTheirLengthAndTheFirst) {
    WriteFile(shop_.Work("edit.otio"),
              Timeline({Track({WithOurs(Clip("n.wav", 80, 10), {{"audioLevel", 20}}), Gap(15),
                               WithOurs(Clip("n.wav", 80, 5), {{"audioLevel", 20}})})})
                  .dump());

    const ProgramResult result = Mix({});

    EXPECT_TRUE(Has(result,
                    "  attention  the mix clips at 2 places, 0.6 s in all, first from 00:00:00:00 "
                    "to\n             00:00:00:10\n"))
        << result.out;
}

TEST_F(MixSummaryProgram, AMixWithoutFaultsNeedsNoAttention) {
    // The first two seconds have values up to 4900 of 32768.
    const ProgramResult result = Mix({"--to", "50f"});

    const std::size_t at = result.out.find("summary\n");
    ASSERT_NE(at, std::string::npos) << result.out;
    const std::string summary = result.out.substr(at);
    EXPECT_EQ(summary.find("summary\n  right      the mix is written: 0:00:02.000, "), 0u)
        << summary;
    EXPECT_NE(summary.find("  right      2 clips have their whole sound\n  attention  nothing\n"),
              std::string::npos)
        << summary;
}

TEST_F(MixSummaryProgram, ANoteNeedsNoAttention) {
    WriteFile(shop_.Work("edit.otio"),
              Timeline({Track({Gap(50)}, "V1", "Video"), Track({Clip("n.wav", 0, 50)})}).dump());

    const ProgramResult result = Mix({});

    EXPECT_TRUE(Has(result, "not imported, or changed:\n  video track, ")) << result.out;
    EXPECT_TRUE(Has(result, "  attention  nothing\n")) << result.out;
}

TEST_F(MixSummaryProgram, ASilentMixNeedsAttention) {
    WriteFile(shop_.Work("edit.otio"), Timeline({Track({Gap(50)})}).dump());

    EXPECT_TRUE(Has(Mix({}), "  attention  the mix is silent\n"));
}

TEST_F(MixSummaryProgram, AMeterRowFitsInto80Columns) {
    const std::string out = Mix({}).out;

    const std::size_t row = out.find("  track 1 'Voice of");
    ASSERT_NE(row, std::string::npos) << out;
    const std::string line = out.substr(row, out.find('\n', row) - row);
    EXPECT_EQ(line.size(), 80u) << line;
    EXPECT_NE(line.find("...': peak"), std::string::npos) << line;
}

TEST_F(MixSummaryProgram, AStrictMixWithEntriesHasTheSummary) {
    WriteFile(shop_.Work("edit.otio"), Timeline({Track({Clip("n.wav", 90, 20)})}).dump());

    const ProgramResult result = Mix({"--strict"});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(Has(result, "summary\n  right      0 of 1 clip has its whole sound\n"))
        << result.out;
}

}  // namespace
}  // namespace sonrel_tests
