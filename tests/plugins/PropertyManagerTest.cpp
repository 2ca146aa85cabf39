// SPDX-License-Identifier: MIT
#include "sonrel/plugins/PropertyManager.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace {

using orlo::project::OrloColor;
using orlo::project::PropertyManager;
using orlo::project::PropertyValue;

float LevelAt(const PropertyManager& properties, int timeMs) {
    return boost::get<float>(properties.ValueAtTime("audioLevel", false, timeMs));
}

TEST(PropertyManager, AnUnknownKeyReadsAsAnIntegerSoThatItsReaderFails) {
    const PropertyManager properties;

    EXPECT_EQ(properties.StaticValue("audioLevel").which(), 0);
    EXPECT_EQ(properties.ValueAtTime("audioLevel", false, 0).which(), 0);
    EXPECT_THROW(boost::get<float>(properties.StaticValue("audioLevel")), boost::bad_get);
    EXPECT_THROW(LevelAt(properties, 0), boost::bad_get);
}

TEST(PropertyManager, AnotherAlternativeRaisesBadGetWithItsOwnMessage) {
    PropertyManager properties;
    properties.SetStaticValue("audioLevel", 1.0);
    try {
        LevelAt(properties, 0);
        ADD_FAILURE() << "a double was read as a float";
    } catch (const boost::bad_get& error) {
        EXPECT_STREQ(error.what(), "boost::bad_get: failed value get using boost::get");
    }
}

TEST(PropertyManager, AStaticValueIsReadByReferenceAndIsTheValueAtEveryTime) {
    PropertyManager properties;
    properties.SetStaticValue("audioLevel", -6.0f);

    EXPECT_EQ(&properties.StaticValue("audioLevel"), &properties.StaticValue("audioLevel"));
    EXPECT_EQ(boost::get<float>(properties.StaticValue("audioLevel")), -6.0f);
    EXPECT_EQ(LevelAt(properties, std::numeric_limits<int>::min()), -6.0f);
    EXPECT_EQ(LevelAt(properties, std::numeric_limits<int>::max()), -6.0f);
}

TEST(PropertyManager, KeysAreComparedByTheirText) {
    PropertyManager properties;
    properties.SetStaticValue("speed", 2.0);
    const std::string sameText = "speed";

    EXPECT_EQ(boost::get<double>(properties.StaticValue(sameText.c_str())), 2.0);
    EXPECT_EQ(properties.StaticValue("spee").which(), 0);
    EXPECT_EQ(properties.StaticValue("speeds").which(), 0);
    EXPECT_EQ(properties.StaticValue("Speed").which(), 0);
}

TEST(PropertyManager, OutsideTheKeyFramesTheNearestValueIsHeld) {
    PropertyManager properties;
    properties.SetKeyframe("audioLevel", 100, -10.0f);
    properties.SetKeyframe("audioLevel", 200, -20.0f);

    EXPECT_EQ(LevelAt(properties, std::numeric_limits<int>::min()), -10.0f);
    EXPECT_EQ(LevelAt(properties, 99), -10.0f);
    EXPECT_EQ(LevelAt(properties, 100), -10.0f);
    EXPECT_EQ(LevelAt(properties, 200), -20.0f);
    EXPECT_EQ(LevelAt(properties, 201), -20.0f);
    EXPECT_EQ(LevelAt(properties, std::numeric_limits<int>::max()), -20.0f);
}

TEST(PropertyManager, BetweenKeyFramesAFloatIsInterpolatedInDoublePrecision) {
    PropertyManager properties;
    properties.SetKeyframe("audioLevel", 0, 0.0f);
    properties.SetKeyframe("audioLevel", 1000, -12.0f);

    EXPECT_EQ(LevelAt(properties, 500), -6.0f);
    EXPECT_EQ(LevelAt(properties, 250), -3.0f);
    // -12 * 0.001 in double precision, then the nearest float.
    EXPECT_EQ(LevelAt(properties, 1), static_cast<float>(-0.012));
    EXPECT_EQ(LevelAt(properties, 333), static_cast<float>(-3.996));
}

TEST(PropertyManager, TheRatioOfTimesIsComputedBeforeTheProduct) {
    PropertyManager properties;
    properties.SetKeyframe("speed", 0, 0.0);
    properties.SetKeyframe("speed", 49, 49.0);

    // 1 / 49 * 49 is 0.9999999999999999 in double precision; 49 * 1 / 49 would be 1.
    EXPECT_EQ(boost::get<double>(properties.ValueAtTime("speed", false, 1)), 1.0 / 49.0 * 49.0);
    EXPECT_LT(boost::get<double>(properties.ValueAtTime("speed", false, 1)), 1.0);
}

TEST(PropertyManager, KeyFramesAtTheEndsOfTimeDoNotOverflow) {
    PropertyManager properties;
    properties.SetKeyframe("audioLevel", std::numeric_limits<int>::min(), 0.0f);
    properties.SetKeyframe("audioLevel", std::numeric_limits<int>::max(), 1.0f);

    EXPECT_NEAR(LevelAt(properties, 0), 0.5f, 1e-6f);
}

TEST(PropertyManager, OtherAlternativesHoldTheEarlierKeyFrame) {
    PropertyManager properties;
    properties.SetKeyframe("count", 0, 10);
    properties.SetKeyframe("count", 100, 20);
    properties.SetKeyframe("name", 0, std::wstring(L"first"));
    properties.SetKeyframe("name", 100, std::wstring(L"second"));

    EXPECT_EQ(boost::get<int>(properties.ValueAtTime("count", false, 99)), 10);
    EXPECT_EQ(boost::get<int>(properties.ValueAtTime("count", false, 100)), 20);
    EXPECT_EQ(boost::get<std::wstring>(properties.ValueAtTime("name", false, 99)), L"first");
}

TEST(PropertyManager, TheFlagMakesNoDifference) {
    PropertyManager properties;
    properties.SetKeyframe("audioLevel", 0, 0.0f);
    properties.SetKeyframe("audioLevel", 10, 10.0f);

    EXPECT_EQ(boost::get<float>(properties.ValueAtTime("audioLevel", true, 5)), 5.0f);
}

TEST(PropertyManager, KeyFramesMayBeSetInAnyOrderAndReplaceThoseOfTheSameTime) {
    PropertyManager properties;
    properties.SetKeyframe("audioLevel", 200, 2.0f);
    properties.SetKeyframe("audioLevel", 0, 0.0f);
    properties.SetKeyframe("audioLevel", 100, 9.0f);
    properties.SetKeyframe("audioLevel", 100, 1.0f);

    EXPECT_EQ(LevelAt(properties, 100), 1.0f);
    EXPECT_EQ(LevelAt(properties, 150), 1.5f);
}

TEST(PropertyManager, KeyFramesHideTheStaticValueUntilTheyAreRemoved) {
    PropertyManager properties;
    properties.SetStaticValue("audioLevel", -6.0f);
    EXPECT_FALSE(properties.HasKeyframes("audioLevel"));
    properties.SetKeyframe("audioLevel", 0, -1.0f);
    properties.SetKeyframe("audioLevel", 10, -2.0f);

    EXPECT_TRUE(properties.HasKeyframes("audioLevel"));
    EXPECT_EQ(LevelAt(properties, 0), -1.0f);
    EXPECT_EQ(boost::get<float>(properties.StaticValue("audioLevel")), -6.0f);
    properties.RemoveKeyframe("audioLevel", 0);
    properties.RemoveKeyframe("audioLevel", 5);
    EXPECT_EQ(LevelAt(properties, 0), -2.0f);
    properties.ClearKeyframes("audioLevel");
    EXPECT_FALSE(properties.HasKeyframes("audioLevel"));
    EXPECT_EQ(LevelAt(properties, 0), -6.0f);
}

TEST(PropertyManager, APropertyMadeByAKeyFrameHasItsValueAsStaticValue) {
    PropertyManager properties;
    properties.SetKeyframe("audioLevel", 500, -3.0f);

    properties.ClearKeyframes("audioLevel");

    EXPECT_EQ(LevelAt(properties, 0), -3.0f);
}

TEST(PropertyManager, KeyFramesOfAnotherKindAreRefused) {
    PropertyManager properties;
    properties.SetKeyframe("audioLevel", 0, 0.0f);
    properties.SetKeyframe("audioLevel", 10, 1.0f);

    EXPECT_THROW(properties.SetKeyframe("audioLevel", 20, 1.0), std::invalid_argument);
    EXPECT_THROW(properties.SetKeyframe("audioLevel", 10, 1), std::invalid_argument);
    EXPECT_EQ(LevelAt(properties, 30), 1.0f);
}

TEST(PropertyManager, TheOnlyKeyFrameMayChangeItsKind) {
    PropertyManager properties;
    properties.SetKeyframe("x", 0, 0.0f);
    properties.SetKeyframe("x", 0, 2.0);

    EXPECT_EQ(boost::get<double>(properties.ValueAtTime("x", false, 0)), 2.0);
    EXPECT_THROW(properties.SetKeyframe("x", 1, 0.0f), std::invalid_argument);
}

TEST(PropertyManager, KeyFramesThatAreNotFiniteAreRefused) {
    PropertyManager properties;

    EXPECT_THROW(properties.SetKeyframe("a", 0, std::nanf("")), std::invalid_argument);
    EXPECT_THROW(properties.SetKeyframe("a", 0, std::nan("")), std::invalid_argument);
    EXPECT_THROW(properties.SetKeyframe("a", 0, HUGE_VALF), std::invalid_argument);
    EXPECT_THROW(properties.SetKeyframe("a", 0, -HUGE_VAL), std::invalid_argument);
    EXPECT_FALSE(properties.HasKeyframes("a"));
}

TEST(PropertyManager, ARemovedPropertyIsUnknownAgain) {
    PropertyManager properties;
    properties.SetStaticValue("audioLevel", 0.0f);
    properties.SetKeyframe("audioLevel", 0, 0.0f);

    properties.RemoveProperty("audioLevel");
    properties.RemoveProperty("never there");

    EXPECT_FALSE(properties.HasKeyframes("audioLevel"));
    EXPECT_THROW(LevelAt(properties, 0), boost::bad_get);
}

TEST(PropertyManager, ACopyHasAllPropertiesAndIsIndependent) {
    PropertyManager properties;
    properties.SetStaticValue("audioLevel", -6.0f);
    properties.SetKeyframe("speed", 0, 2.0);

    PropertyManager copy(properties);
    copy.SetStaticValue("audioLevel", 0.0f);

    EXPECT_TRUE(copy.HasKeyframes("speed"));
    EXPECT_EQ(LevelAt(copy, 0), 0.0f);
    EXPECT_EQ(LevelAt(properties, 0), -6.0f);
}

TEST(PropertyManager, ThousandsOfKeyFramesAreFoundExactly) {
    PropertyManager properties;
    for (int i = 0; i < 5000; ++i) {
        properties.SetKeyframe("audioLevel", 10 * i, static_cast<float>(i % 7));
    }
    for (int i = 0; i < 4999; ++i) {
        const float here = static_cast<float>(i % 7);
        const float next = static_cast<float>((i + 1) % 7);
        ASSERT_EQ(LevelAt(properties, 10 * i), here);
        ASSERT_EQ(LevelAt(properties, 10 * i + 5), (here + next) / 2);
    }
}

}  // namespace
