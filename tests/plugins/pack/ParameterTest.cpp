// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>

#include "sonrel/plugins/pack/PluginPack.h"

namespace orlo::sonrel::PluginPack {
namespace {

using ::testing::ElementsAre;

constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
constexpr double INFINITE = std::numeric_limits<double>::infinity();

std::vector<std::string> Names(const std::vector<PluginInfo>& plugins) {
    std::vector<std::string> names;
    for (const PluginInfo& plugin : plugins) names.push_back(plugin.name);
    return names;
}

const ParameterInfo& ParameterOf(const std::string& plugin, const std::string& parameter) {
    for (const auto* plugins : {&Effects(), &Transitions()}) {
        for (const PluginInfo& each : *plugins) {
            if (each.name != plugin) continue;
            for (const ParameterInfo& info : each.parameters) {
                if (info.name == parameter) return info;
            }
        }
    }
    throw std::out_of_range("no such parameter");
}

/// The text of the exception; empty without an exception.
std::string RefusalOf(const std::function<void()>& make) {
    try {
        make();
    } catch (const std::invalid_argument& refusal) {
        return refusal.what();
    }
    return {};
}

std::string Refusal(const std::string& name, const Parameters& parameters, int rate = 0) {
    return RefusalOf([&] { CreateEffect(name, parameters, rate); });
}

void ExpectRange(const std::string& plugin, const std::string& parameter, const std::string& unit,
                 double minimum, double maximum, double defaultValue) {
    const ParameterInfo& info = ParameterOf(plugin, parameter);
    EXPECT_EQ(info.unit, unit) << plugin << " " << parameter;
    EXPECT_EQ(info.minimum, minimum) << plugin << " " << parameter;
    EXPECT_EQ(info.maximum, maximum) << plugin << " " << parameter;
    EXPECT_EQ(info.defaultValue, defaultValue) << plugin << " " << parameter;
}

TEST(PluginPack, NamesItsEffectsAndTransitions) {
    EXPECT_THAT(Names(Effects()), ElementsAre("fade", "gain", "delay", "low-pass", "high-pass",
                                              "equalizer", "compressor", "gate", "limiter"));
    EXPECT_THAT(Names(Transitions()), ElementsAre("cross-fade"));
}

TEST(PluginPack, EveryParameterHasItsUnitRangeAndDefault) {
    ExpectRange("cross-fade", "curve", "", 0, 2, 1);
    ExpectRange("fade", "inFrames", "frames", 0, 2147483647, 0);
    ExpectRange("fade", "outFrames", "frames", 0, 2147483647, 0);
    ExpectRange("fade", "objectFrames", "frames", 0, 2147483647, 0);
    ExpectRange("fade", "frameRate", "frames/s", 0.001, 1000000, 25);
    ExpectRange("fade", "curve", "", 0, 2, 1);
    ExpectRange("gain", "gainDb", "dB", -96, 24, 0);
    ExpectRange("delay", "delayMs", "ms", 1, 2000, 250);
    ExpectRange("delay", "levelDb", "dB", -96, 0, -6);
    ExpectRange("delay", "taps", "repeats", 1, 8, 1);
    ExpectRange("low-pass", "frequencyHz", "Hz", 10, 345600, 1000);
    ExpectRange("low-pass", "q", "", 0.1, 10, 0.7071);
    ExpectRange("high-pass", "frequencyHz", "Hz", 10, 345600, 1000);
    ExpectRange("high-pass", "q", "", 0.1, 10, 0.7071);
    ExpectRange("equalizer", "lowHz", "Hz", 10, 345600, 100);
    ExpectRange("equalizer", "lowDb", "dB", -24, 24, 0);
    ExpectRange("equalizer", "lowQ", "", 0.1, 10, 0.7071);
    ExpectRange("equalizer", "midHz", "Hz", 10, 345600, 1000);
    ExpectRange("equalizer", "midDb", "dB", -24, 24, 0);
    ExpectRange("equalizer", "midQ", "", 0.1, 10, 1);
    ExpectRange("equalizer", "highHz", "Hz", 10, 345600, 8000);
    ExpectRange("equalizer", "highDb", "dB", -24, 24, 0);
    ExpectRange("equalizer", "highQ", "", 0.1, 10, 0.7071);
    ExpectRange("compressor", "thresholdDb", "dB", -60, 0, -20);
    ExpectRange("compressor", "ratio", "", 1, 100, 4);
    ExpectRange("compressor", "kneeDb", "dB", 0, 40, 6);
    ExpectRange("compressor", "attackMs", "ms", 1, 100, 10);
    ExpectRange("compressor", "releaseMs", "ms", 1, 850, 200);
    ExpectRange("compressor", "makeupDb", "dB", -24, 24, 0);
    ExpectRange("gate", "thresholdDb", "dB", -90, 0, -50);
    ExpectRange("gate", "rangeDb", "dB", -96, 0, -60);
    ExpectRange("gate", "attackMs", "ms", 1, 50, 5);
    ExpectRange("gate", "holdMs", "ms", 0, 400, 100);
    ExpectRange("gate", "releaseMs", "ms", 1, 500, 150);
    ExpectRange("limiter", "ceilingDb", "dB", -24, 0, -1);
    ExpectRange("limiter", "gainDb", "dB", -24, 24, 0);
    ExpectRange("limiter", "attackMs", "ms", 1, 50, 5);
    ExpectRange("limiter", "releaseMs", "ms", 1, 900, 100);
    EXPECT_EQ(ParameterOf("equalizer", "lowHz").maximumOfRate, 0.45);
    EXPECT_EQ(ParameterOf("equalizer", "midHz").maximumOfRate, 0.45);
    EXPECT_EQ(ParameterOf("equalizer", "highHz").maximumOfRate, 0.45);
    EXPECT_EQ(ParameterOf("low-pass", "frequencyHz").maximumOfRate, 0.45);
    EXPECT_EQ(ParameterOf("high-pass", "frequencyHz").maximumOfRate, 0.45);
}

TEST(PluginPack, EveryPluginIsMadeWithoutParametersAndIsOfTheAudioKind) {
    for (const PluginInfo& plugin : Effects()) {
        EXPECT_EQ(CreateEffect(plugin.name)->PluginKind(), 1) << plugin.name;
    }
    for (const PluginInfo& plugin : Transitions()) {
        EXPECT_EQ(CreateTransition(plugin.name)->PluginKind(), 1) << plugin.name;
    }
}

TEST(PluginPack, EveryPluginAcceptsTheEndsOfItsRangesAndNothingBeyond) {
    for (const PluginInfo& plugin : Effects()) {
        for (const ParameterInfo& parameter : plugin.parameters) {
            Parameters others;
            if (parameter.name == "outFrames") others["objectFrames"] = 1.0;
            const auto with = [&](double value) {
                Parameters parameters = others;
                parameters[parameter.name] = value;
                return Refusal(plugin.name, parameters);
            };
            const double below = std::nextafter(parameter.minimum, -INFINITE);
            const double above = std::nextafter(parameter.maximum, INFINITE);
            const std::string where = plugin.name + " " + parameter.name;
            EXPECT_EQ(with(parameter.minimum), "") << where;
            EXPECT_EQ(with(parameter.maximum), "") << where;
            EXPECT_EQ(with(parameter.defaultValue), "") << where;
            EXPECT_NE(with(below), "") << where;
            EXPECT_NE(with(above), "") << where;
            EXPECT_NE(with(NOT_A_NUMBER), "") << where;
            EXPECT_NE(with(INFINITE), "") << where;
            EXPECT_NE(with(-INFINITE), "") << where;
        }
    }
}

TEST(PluginPack, CrossFadeRefusesACurveThatDoesNotExist) {
    EXPECT_EQ(RefusalOf([] { CreateTransition("cross-fade", {{"curve", 2.0}}); }), "");
    EXPECT_EQ(RefusalOf([] {
                  CreateTransition("cross-fade", {{"curve", 3.0}});
              }),
              "cross-fade: curve must be from 0 to 2, not 3 (0 is linear, 1 is equal-power, "
              "2 is db)");
    EXPECT_EQ(RefusalOf([] {
                  CreateTransition("cross-fade", {{"curve", 0.5}});
              }),
              "cross-fade: curve must be a whole number, not 0.5");
}

TEST(PluginPack, AnUnknownNameIsRefusedWithTheKnownNames) {
    EXPECT_EQ(Refusal("reverb", {}),
              "there is no effect \"reverb\", only fade, gain, delay, low-pass, high-pass, "
              "equalizer, compressor, gate, limiter");
    EXPECT_EQ(RefusalOf([] { CreateTransition("gain"); }),
              "there is no transition \"gain\", only cross-fade");
    EXPECT_NE(Refusal("cross-fade", {}), "");
    EXPECT_NE(Refusal("Gain", {}), "");
    EXPECT_NE(Refusal("", {}), "");
}

TEST(PluginPack, AnUnknownParameterIsRefusedWithTheKnownParameters) {
    EXPECT_EQ(Refusal("delay", {{"feedback", 0.0}}),
              "delay: there is no parameter \"feedback\", only delayMs, levelDb, taps");
}

TEST(PluginPack, AValueOutOfRangeIsRefusedWithTheRange) {
    EXPECT_EQ(Refusal("gain", {{"gainDb", 30.0}}),
              "gain: gainDb must be from -96 to 24 dB, not 30");
}

TEST(PluginPack, AValueThatIsNotANumberIsRefused) {
    EXPECT_EQ(Refusal("gain", {{"gainDb", NOT_A_NUMBER}}), "gain: gainDb must be a finite number");
}

TEST(PluginPack, RepeatsAreCountedInWholeNumbers) {
    EXPECT_EQ(Refusal("delay", {{"taps", 2.0}}), "");
    EXPECT_EQ(Refusal("delay", {{"taps", 2.5}}), "delay: taps must be a whole number, not 2.5");
}

TEST(PluginPack, AFadeOutNeedsTheLengthOfItsObject) {
    EXPECT_EQ(Refusal("fade", {{"outFrames", 5.0}, {"objectFrames", 5.0}}), "");
    EXPECT_EQ(Refusal("fade", {{"outFrames", 5.0}}),
              "fade: objectFrames must be above 0 where outFrames is: it says where the object "
              "ends");
}

TEST(PluginPack, ACornerFrequencyIsCheckedAgainstAKnownRate) {
    EXPECT_EQ(Refusal("low-pass", {{"frequencyHz", 21600.0}}, 48000), "");
    EXPECT_EQ(Refusal("low-pass", {{"frequencyHz", 21600.5}}, 48000),
              "low-pass: frequencyHz must be from 10 to 21600 Hz, not 21600.5");
    EXPECT_EQ(Refusal("low-pass", {{"frequencyHz", 21600.5}}), "");
    EXPECT_EQ(Refusal("high-pass", {{"frequencyHz", 19845.0}}, 44100), "");
    EXPECT_NE(Refusal("high-pass", {{"frequencyHz", 19846.0}}, 44100), "");
}

TEST(PluginPack, CurvesHaveNumbers) {
    EXPECT_EQ(CurveNumber("linear"), 0.0);
    EXPECT_EQ(CurveNumber("equal-power"), 1.0);
    EXPECT_EQ(CurveNumber("db"), 2.0);
    EXPECT_THAT(ParameterOf("fade", "curve").choices, ElementsAre("linear", "equal-power", "db"));
}

TEST(PluginPack, ACurveThatDoesNotExistHasNoNumber) {
    EXPECT_EQ(RefusalOf([] { CurveNumber("cubic"); }),
              "there is no curve \"cubic\", only linear, equal-power, db");
    EXPECT_NE(RefusalOf([] { CurveNumber(""); }), "");
}

}  // namespace
}  // namespace orlo::sonrel::PluginPack
