// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

constexpr int RATE = 48000;

std::string DuckingWav(int seconds, std::int16_t left, std::int16_t right) {
    std::vector<std::int16_t> values;
    for (int i = 0; i < seconds * RATE; ++i) values.insert(values.end(), {left, right});
    const std::string bytes(reinterpret_cast<const char*>(values.data()), values.size() * 2);
    return Riff(Chunk("fmt ", PcmFormat(1, 2, RATE, 16)) + Chunk("data", bytes));
}

std::vector<std::int16_t> RightOf(const std::filesystem::path& path) {
    const std::string bytes = ReadFile(path);
    const std::size_t data = bytes.find("data") + 8;
    std::vector<std::int16_t> right((bytes.size() - data) / 4);
    for (std::size_t i = 0; i < right.size(); ++i) {
        std::memcpy(&right[i], bytes.data() + data + 4 * i + 2, 2);
    }
    return right;
}

/// A voice on the left from 400 to 600 ms, and music on the right that it lowers by 20 dB. Cells of
/// the voice are 10 ms: it falls from 300 to 400 ms, holds to 700 ms, and rises to 1000 ms.
class DuckingProgram : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("voice.wav"), DuckingWav(1, 8000, 0));
        WriteFile(shop_.Work("music.wav"), DuckingWav(3, 0, 2000));
    }

    /// @param voice  metadata of the voice track
    void WriteTimeline(const Json& voice, const std::string& by = "Voice") {
        const Json duck = {
            {"by", by},
            {"parameters",
             {{"depthDb", -20}, {"attackMs", 100}, {"holdMs", 100}, {"releaseMs", 200}}}};
        Json document =
            Timeline({WithOurs(Track({Clip("music.wav", 10, 20),
                                      WithOurs(Dissolve(2, 2), {{"curve", "linear"}}),
                                      Clip("music.wav", 30, 20)},
                                     "Music"),
                               {{"duck", duck}}),
                      WithOurs(Track({Gap(10), Clip("voice.wav", 5, 5)}, "Voice"), voice)});
        WriteFile(shop_.Work("edit.otio"), document.dump());
    }

    ProgramResult Mix(std::vector<std::string> more = {}) {
        more.insert(more.begin(),
                    {"mix", "@edit.otio", "-o", "@out.wav", "--json", "--dither", "none"});
        return shop_.Run(more);
    }

    Workshop shop_;
};

// At 350 ms half of the amount, 10 dB: 632. At 800 ms the amounts of the cells from 700 to 800 ms,
// 0.95 to 0.5, have a mean of 0.725, 14.5 dB: 377.
TEST_F(DuckingProgram, ATrackLowersAnotherBeforeItSoundsAndUntilAfterItsHold) {
    WriteTimeline({{"audioLevel", -6}});

    const ProgramResult result = Mix();

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_TRUE(result.Json().at("notTakenOver").empty());
    const auto right = RightOf(shop_.Work("out.wav"));
    ASSERT_EQ(right.size(), 40u * 1920);
    EXPECT_EQ(right[14300], 2000);
    EXPECT_NEAR(right[16800], 632, 1);
    EXPECT_NEAR(right[19200], 200, 1);
    EXPECT_NEAR(right[33600], 200, 1);
    EXPECT_NEAR(right[38400], 377, 1);
    EXPECT_EQ(right[48000], 2000);
}

TEST_F(DuckingProgram, ARangeHasTheSamplesOfTheWholeMix) {
    WriteTimeline({{"audioLevel", -6}});
    ASSERT_EQ(Mix().exitCode, 0);
    const auto whole = RightOf(shop_.Work("out.wav"));

    ASSERT_EQ(Mix({"--from", "16801smp", "--to", "40001smp"}).exitCode, 0);

    const auto part = RightOf(shop_.Work("out.wav"));
    EXPECT_EQ(part, std::vector<std::int16_t>(whole.begin() + 16801, whole.begin() + 40001));
}

TEST_F(DuckingProgram, PlaysAsItMixes) {
    WriteTimeline({{"audioLevel", -6}});
    ASSERT_EQ(Mix().exitCode, 0);

    const ProgramResult result =
        shop_.Run({"play", "@edit.otio", "--output", "@play.wav", "--dither", "none"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(RightOf(shop_.Work("play.wav")), RightOf(shop_.Work("out.wav")));
}

TEST_F(DuckingProgram, AMutedTrackLowersNothing) {
    WriteTimeline({{"muted", true}});

    ASSERT_EQ(Mix().exitCode, 0);

    EXPECT_EQ(RightOf(shop_.Work("out.wav")), std::vector<std::int16_t>(40 * 1920, 2000));
}

TEST_F(DuckingProgram, ATrackThatDoesNotExistIsListedAndLowersNothing) {
    WriteTimeline({{"audioLevel", -6}}, "Vocals");

    const ProgramResult result = Mix();

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.Json().at("notTakenOver").at(0).at("reason"),
              "there is no track 'Vocals'; it is skipped");
    EXPECT_EQ(result.Json().at("notTakenOver").at(0).at("where"), "track 1 'Music'");
    EXPECT_EQ(RightOf(shop_.Work("out.wav")), std::vector<std::int16_t>(40 * 1920, 2000));
}

TEST_F(DuckingProgram, InfoListsTheDucking) {
    WriteTimeline({{"audioLevel", -6}});

    const ProgramResult json = shop_.Run({"info", "@edit.otio", "--json"});
    const ProgramResult text = shop_.Run({"info", "@edit.otio"});

    const auto track = json.Json().at("tracks").at(0);
    EXPECT_EQ(track.at("duck").at("by"), "Voice");
    EXPECT_EQ(track.at("duck").at("parameters").at("depthDb"), -20);
    EXPECT_NE(text.out.find("ducked by 'Voice'"), std::string::npos) << text.out;
}

}  // namespace
}  // namespace sonrel_tests
