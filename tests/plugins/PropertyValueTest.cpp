// SPDX-License-Identifier: MIT
#include "sonrel/plugins/PropertyValue.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace {

using orlo::project::CustomProperty;
using orlo::project::Orientation3D;
using orlo::project::OrloColor;
using orlo::project::PropertyValue;
using orlo::project::PropertyValueRange;
using orlo::project::Scale3D;
using zrtl::matl::ZRMatrix;
using zrtl::matl::ZRPoint;
using zrtl::matl::ZRVector;

TEST(PropertyValue, TheSixteenAlternativesAreInTheirOrder) {
    EXPECT_EQ(PropertyValue(1).which(), 0);
    EXPECT_EQ(PropertyValue(1u).which(), 1);
    EXPECT_EQ(PropertyValue(1.0f).which(), 2);
    EXPECT_EQ(PropertyValue(1.0).which(), 3);
    EXPECT_EQ(PropertyValue(true).which(), 4);
    EXPECT_EQ(PropertyValue(Scale3D()).which(), 5);
    EXPECT_EQ(PropertyValue(Orientation3D()).which(), 6);
    EXPECT_EQ(PropertyValue(OrloColor()).which(), 7);
    EXPECT_EQ(PropertyValue(ZRPoint<2, float>()).which(), 8);
    EXPECT_EQ(PropertyValue(ZRPoint<3, float>()).which(), 9);
    EXPECT_EQ(PropertyValue(ZRVector<2, float>()).which(), 10);
    EXPECT_EQ(PropertyValue(ZRVector<3, float>()).which(), 11);
    EXPECT_EQ(PropertyValue(zrtl::ZRID()).which(), 12);
    EXPECT_EQ(PropertyValue(ZRMatrix<4, 4, float>()).which(), 13);
    EXPECT_EQ(PropertyValue(std::wstring()).which(), 14);
    EXPECT_EQ(PropertyValue(CustomProperty()).which(), 15);
}

TEST(PropertyValue, ADefaultValueIsTheIntegerZero) {
    const PropertyValue value;

    EXPECT_EQ(value.which(), 0);
    EXPECT_EQ(boost::get<int>(value), 0);
}

TEST(PropertyValue, AReaderOfAnotherAlternativeRaisesBadGet) {
    const PropertyValue value(1.0);
    try {
        boost::get<float>(value);
        ADD_FAILURE() << "a double was read as a float";
    } catch (const boost::bad_get& error) {
        EXPECT_STREQ(error.what(), "boost::bad_get: failed value get using boost::get");
    }
}

TEST(PropertyValue, AColourIsSixteenBytesOfPlainData) {
    EXPECT_EQ(sizeof(OrloColor), 16u);
    EXPECT_TRUE(std::is_trivially_copyable_v<OrloColor>);
}

TEST(PropertyValue, AssigningTheEndsOfARangeDoesNothing) {
    PropertyValueRange::Min low;
    PropertyValueRange::Max high;

    EXPECT_EQ(&(low = PropertyValueRange::Min()), &low);
    EXPECT_EQ(&(high = PropertyValueRange::Max()), &high);
}

}  // namespace
