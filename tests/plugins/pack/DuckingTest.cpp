// SPDX-License-Identifier: MIT
#include "sonrel/plugins/pack/Ducking.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/plugins/pack/EffectRender.h"
#include "tests/reference/ReferenceDynamics.h"

namespace orlo::sonrel::PluginPack {
namespace {

using sonrel_tests::RenderedObject;
using sonrel_tests::Samples;
using ::testing::ElementsAre;

/// Two cells of attack, one of hold and two of release.
const Parameters SHORT_TIMES = {
    {"thresholdDb", -20}, {"depthDb", -20}, {"attackMs", 20}, {"holdMs", 10}, {"releaseMs", 20}};

RenderedObject Ducked(const Samples& source, const std::shared_ptr<const GainCurve>& curve,
                      long long objectStart) {
    RenderedObject object;
    object.source = source;
    object.rate = curve->sampleRate;
    object.effects = {CreateDucking(curve, objectStart)};
    return object;
}

/// The text of the exception; empty without an exception.
template <class Make>
std::string DuckRefusal(const Make& make) {
    try {
        make();
    } catch (const std::invalid_argument& refusal) {
        return refusal.what();
    }
    return {};
}

TEST(Ducking, ACellIsTenMilliseconds) {
    EXPECT_EQ(DuckingCellFrames(48000), 480);
    EXPECT_EQ(DuckingCellFrames(44100), 441);
    EXPECT_EQ(DuckingCellFrames(22050), 221);
    EXPECT_EQ(DuckingCellFrames(20), 1);
}

// The key sounds in cell 6. Its amount holds for a cell more and is a half in the next; the two
// cells before it look ahead. The means of two cells are a half in cell 5, 1 to cell 8, 0.75 and
// 0.25 in the next two, of 20 dB.
TEST(Ducking, TheCurveFallsBeforeTheKeySoundsHoldsAndRises) {
    std::vector<int> peaks(12, 3276);  // -20 dB is 3276.8
    peaks[6] = 3277;

    const std::vector<double> gains = DuckingCurve(peaks, SHORT_TIMES, 48000)->gains;

    ASSERT_EQ(gains.size(), 13u);
    constexpr double AMOUNTS[] = {0, 0, 0, 0, 0, 0.5, 1, 1, 1, 0.75, 0.25, 0, 0};
    for (std::size_t i = 0; i < 13; ++i) {
        EXPECT_NEAR(gains[i], std::pow(10.0, -AMOUNTS[i]), 1e-12) << i;
    }
}

TEST(Ducking, TheCurveIsThatOfTheWindowsOverTheKey) {
    const Samples key = sonrel_tests::Noise(40 * 441, 71);
    const auto loudness = [](int cell) { return cell % 17 < 3 ? 1.0 : 0.001; };
    std::vector<int> peaks;
    for (int cell = 0; cell < 40; ++cell) {
        const double level = reference::SampleLevel(key, cell * 441, (cell + 1) * 441);
        peaks.push_back(
            static_cast<int>(std::lround(32768 * std::pow(10, level / 20) * loudness(cell))));
    }
    reference::ReferenceDynamics windows(441, {15, 20, 40, true}, [&](int first, int) {
        const auto cell = static_cast<std::size_t>(first / 441);
        return cell < peaks.size() && peaks[cell] >= 327.68 ? 1.0 : 0.0;
    });

    const std::vector<double> gains = DuckingCurve(peaks, {}, 44100)->gains;

    ASSERT_EQ(gains.size(), 41u);
    for (int cell = 0; cell <= 40; ++cell) {
        const double expected = windows.GainAt(
            cell * 441, [](double amount) { return std::pow(10.0, -12.0 * amount / 20.0); });
        EXPECT_NEAR(gains[static_cast<std::size_t>(cell)], expected, 1e-12) << cell;
    }
}

TEST(Ducking, AnObjectHasTheGainsOfItsPlaceOnTheTimeline) {
    const auto curve = std::make_shared<GainCurve>(GainCurve{300, {1.0, 0.5, 0.25, 1.0}});
    const Samples source = sonrel_tests::Stereo(Samples(20, 9000));

    // At 300 Hz a cell is three frames. The object starts in the last frame of the first cell.
    EXPECT_THAT(sonrel_tests::Left(Ducked(source, curve, 2).Render(0, 10)),
                ElementsAre(6000, 4500, 3750, 3000, 2250, 4500, 6750, 9000, 9000, 9000));
}

TEST(Ducking, BeforeAndAfterTheCurveTheGainIsThatOfItsEnds) {
    const auto curve = std::make_shared<GainCurve>(GainCurve{100, {0.5, 1.0, 0.1}});
    RenderedObject object = Ducked(sonrel_tests::Stereo(Samples(9, 1000)), curve, 2);
    object.objectOffset = -4;

    EXPECT_THAT(sonrel_tests::Left(object.Render(-4, 9)),
                ElementsAre(500, 500, 500, 1000, 100, 100, 100, 100, 100));
}

TEST(Ducking, NeedsNoOtherSamplesAndGivesTheSameBytesInAnySplit) {
    const auto curve = DuckingCurve({0, 0, 30000, 0, 0, 0, 0, 30000, 0}, SHORT_TIMES, 48000);
    const RenderedObject object = Ducked(sonrel_tests::Noise(5000, 72), curve, 77);
    const Samples whole = object.Render(0, 5000);

    EXPECT_EQ(sonrel_tests::RequiredRange(*object.effects[0], 48000, 500, 10, 0).first, 500);
    EXPECT_EQ(sonrel_tests::RequiredRange(*object.effects[0], 48000, 500, 10, 0).endExclusive, 510);
    for (const int block : {1601, 480, 64, 7}) {
        EXPECT_EQ(object.RenderInBlocks(0, 5000, block), whole) << block;
    }
}

TEST(Ducking, LeavesSoundUnchangedWhereTheKeyIsSilent) {
    const Samples source = sonrel_tests::Noise(3000, 73);

    EXPECT_EQ(Ducked(source, DuckingCurve(std::vector<int>(9, 0), {}, 48000), 0).Render(0, 3000),
              source);
}

TEST(Ducking, AcceptsTheEndsOfItsRangesAndNothingBeyond) {
    constexpr double INFINITE = std::numeric_limits<double>::infinity();
    for (const ParameterInfo& parameter : Ducking().parameters) {
        const auto with = [&](double value) {
            return DuckRefusal([&] { DuckingCurve({}, {{parameter.name, value}}, 48000); });
        };
        EXPECT_EQ(with(parameter.minimum), "") << parameter.name;
        EXPECT_EQ(with(parameter.maximum), "") << parameter.name;
        EXPECT_NE(with(std::nextafter(parameter.minimum, -INFINITE)), "") << parameter.name;
        EXPECT_NE(with(std::nextafter(parameter.maximum, INFINITE)), "") << parameter.name;
        EXPECT_NE(with(std::nan("")), "") << parameter.name;
    }
    EXPECT_EQ(DuckRefusal([] {
                  DuckingCurve({}, {{"depthDb", 3}}, 48000);
              }),
              "duck: depthDb must be from -96 to 0 dB, not 3");
    EXPECT_EQ(DuckRefusal([] {
                  DuckingCurve({}, {{"depth", -3}}, 48000);
              }),
              "duck: there is no parameter \"depth\", only thresholdDb, depthDb, attackMs, holdMs, "
              "releaseMs");
}

TEST(Ducking, ACurveThatIsNotOneOfGainsIsRefused) {
    const auto refused = [](const GainCurve& curve) {
        return !DuckRefusal([&] { CreateDucking(std::make_shared<GainCurve>(curve), 0); }).empty();
    };

    EXPECT_FALSE(refused({48000, {0.0, 1.0}}));
    EXPECT_TRUE(refused({0, {1.0}}));
    EXPECT_TRUE(refused({48000, {}}));
    EXPECT_TRUE(refused({48000, {1.0, -0.1}}));
    EXPECT_TRUE(refused({48000, {std::nan("")}}));
    EXPECT_TRUE(refused({48000, {std::numeric_limits<double>::infinity()}}));
    EXPECT_NE(DuckRefusal([] { CreateDucking(nullptr, 0); }), "");
}

}  // namespace
}  // namespace orlo::sonrel::PluginPack
