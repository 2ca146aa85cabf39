// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

// Timelines of constant media, mixed by the program at 48000 Hz and 25 frames a second, so that
// every gain of a transition or a fade can be read from the samples. A frame has 1920 samples.
namespace sonrel_tests {
namespace {

constexpr int FRAME = 1920;

std::string ConstantWav(int frames, std::int16_t left, std::int16_t right) {
    std::string samples;
    for (int i = 0; i < frames * FRAME; ++i) {
        samples += Little(static_cast<std::uint16_t>(left), 2);
        samples += Little(static_cast<std::uint16_t>(right), 2);
    }
    return Riff(Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) + Chunk("data", samples));
}

struct Sample {
    int left = 0;
    int right = 0;

    bool operator==(const Sample&) const = default;
};

void PrintTo(const Sample& sample, std::ostream* out) {
    *out << sample.left << ' ' << sample.right;
}

class TransitionScenario : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("a.wav"), ConstantWav(40, 10000, -2000));
        WriteFile(shop_.Work("b.wav"), ConstantWav(40, 20000, 1000));
    }

    /// Mixes without dither. Only the first track sounds in the result of At.
    /// @param silence  the only reason that the report gives; empty: the report is empty
    void Mix(std::vector<Json> items, const std::string& silence = "") {
        WriteFile(shop_.Work("edit.otio"), Timeline({Track(std::move(items))}).dump());
        const ProgramResult result =
            shop_.Run({"mix", "@edit.otio", "-o", "@out.wav", "--dither", "none", "--json"});
        ASSERT_EQ(result.exitCode, 0) << result.err;
        const auto report = result.Json();
        Json reasons = Json::array();
        for (const auto& entry : report.at("notTakenOver")) {
            reasons.push_back(entry.at("reason").get<std::string>());
        }
        ASSERT_EQ(reasons, silence.empty() ? Json::array() : Json::array({silence})) << result.out;
        const std::string bytes = ReadFile(shop_.Work("out.wav"));
        samples_ = bytes.substr(bytes.find("data") + 8);
    }

    Sample At(int frame, int sample = 0) const {
        const std::size_t at = 4 * (static_cast<std::size_t>(frame) * FRAME + sample);
        std::int16_t values[2] = {};
        std::memcpy(values, samples_.data() + at, sizeof(values));
        return {values[0], values[1]};
    }

    /// a.wav for ten frames, b.wav for ten, and a transition of two frames on either side.
    void MixCrossFade(const std::string& curve) {
        Mix({Clip("a.wav", 0, 10), WithOurs(Dissolve(2, 2), {{"curve", curve}}),
             Clip("b.wav", 10, 10)});
    }

    Workshop shop_;
    std::string samples_;
};

// The transition covers the samples from 8 * 1920 to 12 * 1920: t is their position in those 7680.

TEST_F(TransitionScenario, ALinearCrossFadeWeighsBothSidesByTheTime) {
    MixCrossFade("linear");

    EXPECT_EQ(At(7, 1919), (Sample{10000, -2000}));
    EXPECT_EQ(At(8), (Sample{10000, -2000}));
    // t = 1/4: 7500 + 5000 and -1500 + 250.
    EXPECT_EQ(At(9), (Sample{12500, -1250}));
    // t = 1/2: 5000 + 10000 and -1000 + 500. The join is here.
    EXPECT_EQ(At(10), (Sample{15000, -500}));
    // t = 5/8, within frame 10: 3750 + 12500 and -750 + 625.
    EXPECT_EQ(At(10, 960), (Sample{16250, -125}));
    EXPECT_EQ(At(12), (Sample{20000, 1000}));
}

TEST_F(TransitionScenario, AnEqualPowerCrossFadeWeighsByCosineAndSine) {
    MixCrossFade("equal-power");

    EXPECT_EQ(At(8), (Sample{10000, -2000}));
    // t = 1/3: cos 30 degrees is 0.8660254 and sin 30 degrees 0.5: 8660.25 + 10000 and
    // -1732.05 + 500.
    EXPECT_EQ(At(9, 640), (Sample{18660, -1232}));
    // t = 1/2: both gains are 0.7071068: 21213.2 and -707.1.
    EXPECT_EQ(At(10), (Sample{21213, -707}));
    // t = 2/3: 5000 + 17320.5 and -1000 + 866.03.
    EXPECT_EQ(At(10, 1280), (Sample{22321, -134}));
    EXPECT_EQ(At(12), (Sample{20000, 1000}));
}

TEST_F(TransitionScenario, ADecibelCrossFadeFallsBy60DecibelsAndEndsInSilence) {
    MixCrossFade("db");

    // t = 0: the entering side is exactly silent.
    EXPECT_EQ(At(8), (Sample{10000, -2000}));
    // t = 1/3: -20 dB and -40 dB: 1000 + 200 and -200 + 10.
    EXPECT_EQ(At(9, 640), (Sample{1200, -190}));
    // t = 1/2: both at -30 dB, 0.0316228: 948.7 and -31.6.
    EXPECT_EQ(At(10), (Sample{949, -32}));
    // t = 2/3: 100 + 2000 and -20 + 100.
    EXPECT_EQ(At(10, 1280), (Sample{2100, 80}));
    EXPECT_EQ(At(12), (Sample{20000, 1000}));
}

TEST_F(TransitionScenario, WithoutACurveACrossFadeIsEqualPower) {
    Mix({Clip("a.wav", 0, 10), Dissolve(2, 2), Clip("b.wav", 10, 10)});

    EXPECT_EQ(At(10), (Sample{21213, -707}));
}

TEST_F(TransitionScenario, OffsetsOfDifferentLengthsMoveTheMiddleAwayFromTheJoin) {
    Mix({Clip("a.wav", 0, 10), WithOurs(Dissolve(1, 3), {{"curve", "linear"}}),
         Clip("b.wav", 10, 10)});

    EXPECT_EQ(At(9), (Sample{10000, -2000}));
    // t = 1/4 at the join.
    EXPECT_EQ(At(10), (Sample{12500, -1250}));
    EXPECT_EQ(At(11), (Sample{15000, -500}));
    EXPECT_EQ(At(13), (Sample{20000, 1000}));
}

TEST_F(TransitionScenario, ANeighbourWithoutSamplesIsSilent) {
    // b.wav begins at its own first sample, so that it has no samples before the join.
    Mix({Clip("a.wav", 0, 10), WithOurs(Dissolve(2, 2), {{"curve", "linear"}}),
         Clip("b.wav", 0, 10)},
        "it asks for frames -2 to 10, the file has 40; it is silent from 00:00:00:08 to "
        "00:00:00:10");

    EXPECT_EQ(At(9), (Sample{7500, -1500}));
    EXPECT_EQ(At(10), (Sample{15000, -500}));
}

TEST_F(TransitionScenario, ATransitionNextToAGapFadesToSilenceOnTheClip) {
    Mix({Clip("a.wav", 0, 10), WithOurs(Dissolve(4, 0), {{"curve", "linear"}}), Gap(5)});

    EXPECT_EQ(At(6), (Sample{10000, -2000}));
    EXPECT_EQ(At(8), (Sample{5000, -1000}));
    // The last sample has t = 7679 / 7680: 1.30 and -0.26.
    EXPECT_EQ(At(9, 1919), (Sample{1, 0}));
    EXPECT_EQ(At(10), (Sample{0, 0}));
}

TEST_F(TransitionScenario, ATransitionAtTheStartOfATrackFadesFromSilence) {
    Mix({WithOurs(Dissolve(0, 4), {{"curve", "linear"}}), Clip("a.wav", 0, 10)});

    EXPECT_EQ(At(0), (Sample{0, 0}));
    EXPECT_EQ(At(1), (Sample{2500, -500}));
    EXPECT_EQ(At(4), (Sample{10000, -2000}));
}

TEST_F(TransitionScenario, FadesRunAfterTheChain) {
    // 20 dB down is a tenth; the fade then halves it in the middle of its four frames.
    Mix({WithOurs(Clip("a.wav", 0, 10),
                  {{"effects", {{{"plugin", "gain"}, {"parameters", {{"gainDb", -20}}}}}},
                   {"fadeIn", 4},
                   {"fadeOut", 2},
                   {"fadeCurve", "linear"}})});

    EXPECT_EQ(At(0), (Sample{0, 0}));
    EXPECT_EQ(At(2), (Sample{500, -100}));
    EXPECT_EQ(At(4), (Sample{1000, -200}));
    EXPECT_EQ(At(7, 1919), (Sample{1000, -200}));
    EXPECT_EQ(At(9), (Sample{500, -100}));
}

TEST_F(TransitionScenario, ADelayRepeatsAClipAtItsTime) {
    // 40 ms are one frame; -20 dB are a tenth.
    Mix({WithOurs(Clip("a.wav", 0, 10),
                  {{"effects",
                    {{{"plugin", "delay"},
                      {"parameters", {{"delayMs", 40}, {"levelDb", -20}, {"taps", 2}}}}}}})});

    EXPECT_EQ(At(0, 1919), (Sample{10000, -2000}));
    EXPECT_EQ(At(1), (Sample{11000, -2200}));
    EXPECT_EQ(At(2), (Sample{11100, -2220}));
}

TEST_F(TransitionScenario, ADisabledEffectHasNoEffect) {
    Mix({WithOurs(
        Clip("a.wav", 0, 4),
        {{"effects",
          {{{"plugin", "gain"}, {"parameters", {{"gainDb", -20}}}, {"enabled", false}}}}})});

    EXPECT_EQ(At(2), (Sample{10000, -2000}));
}

TEST_F(TransitionScenario, ANestedItemFadesAcrossAJoinAsAClipDoes) {
    const Json nested = WithRange(Stack({Track({Clip("b.wav", 0, 30)})}), 10, 10);
    Mix({Clip("a.wav", 0, 10), WithOurs(Dissolve(2, 2), {{"curve", "linear"}}), nested});

    EXPECT_EQ(At(9), (Sample{12500, -1250}));
    EXPECT_EQ(At(10), (Sample{15000, -500}));
}

TEST_F(TransitionScenario, LayersOfANestedItemAreSummedWithTheirOwnEffectsAndLevels) {
    const Json tenth =
        WithOurs(Clip("b.wav", 0, 10),
                 {{"effects", {{{"plugin", "gain"}, {"parameters", {{"gainDb", -20}}}}}}});
    Mix({WithOurs(Stack({Track({Clip("a.wav", 0, 10)}), Track({Gap(2), tenth})}),
                  {{"fadeOut", 2}, {"fadeCurve", "linear"}})});

    EXPECT_EQ(At(1, 1919), (Sample{10000, -2000}));
    EXPECT_EQ(At(2), (Sample{12000, -1900}));
    // The nested item is twelve frames long and fades over its last two: only b, halved.
    EXPECT_EQ(At(11), (Sample{1000, 50}));
}

TEST_F(TransitionScenario, ALevelInANestedItemMovesWithTheTimeOfItsClip) {
    // In steps of the object's own time: -20 dB at 0 ms and at 80 ms, two frames into the clip.
    const Json quiet =
        WithOurs(Clip("a.wav", 0, 10), {{"audioLevel", Json::array({{0, -20}, {80, -20}})}});
    Mix({Stack({Track({Gap(3), quiet})})});

    EXPECT_EQ(At(2, 1919), (Sample{0, 0}));
    EXPECT_EQ(At(4), (Sample{1000, -200}));
}

}  // namespace
}  // namespace sonrel_tests
