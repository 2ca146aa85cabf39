// SPDX-License-Identifier: MIT
#include "host/manifest/ManifestComparison.h"

#include <gtest/gtest.h>

#include <climits>

#include "host/manifest/JsonRules.h"
#include "host/otio/JsonDocument.h"

namespace orlo::host {
namespace {

std::string Difference(const std::string& one, const std::string& other) {
    return FirstDifference(otio::ParseDocument(one), otio::ParseDocument(other), "top");
}

TEST(FirstDifference, IsTheKeyOfAValue) {
    EXPECT_EQ(Difference(R"({"a": [1, {"b": 2.5}]})", R"({"a": [1, {"b": 2.5}]})"), "");
    EXPECT_EQ(Difference(R"({"a": [1, {"b": 2.5}]})", R"({"a": [1, {"b": 2.25}]})"), "top.a[1].b");
    EXPECT_EQ(Difference(R"({"a": 1})", R"({"a": "1"})"), "top.a");
    EXPECT_EQ(Difference("1", "null"), "top");
}

TEST(FirstDifference, IsTheKeyOfAMissingMemberOrOfAListOfAnotherLength) {
    EXPECT_EQ(Difference(R"({"a": 1, "b": 2})", R"({"a": 1})"), "top.b");
    EXPECT_EQ(Difference(R"({"a": 1})", R"({"a": 1, "b": 2})"), "top");
    EXPECT_EQ(Difference(R"({"a": [1]})", R"({"a": [1, 2]})"), "top.a");
}

/// The clause of a rule that a value breaks; empty when the value keeps it.
std::string Broken(const JsonRule& rule, const std::string& value) {
    try {
        rule(otio::ParseDocument(value), "key");
        return {};
    } catch (const JsonRuleError& error) {
        return error.what();
    }
}

TEST(JsonRules, AcceptBothEndsOfARangeAndNothingBeyond) {
    EXPECT_EQ(Broken(IsInteger(-1, 3), "-1"), "");
    EXPECT_EQ(Broken(IsInteger(-1, 3), "3"), "");
    EXPECT_EQ(Broken(IsInteger(-1, 3), "4"), "key is not a whole number from -1 to 3");
    EXPECT_EQ(Broken(IsInteger(-1, 3), "2.0"), "key is not a whole number from -1 to 3");
    EXPECT_EQ(Broken(IsNumber(0, 0.5), "0.5"), "");
    EXPECT_EQ(Broken(IsNumber(0, 0.5), "0.51"), "key is not a number from 0 to 0.5");
    EXPECT_EQ(Broken(IsNumber(0, 0.5), "\"0\""), "key is not a number from 0 to 0.5");
    EXPECT_EQ(Broken(IsInteger(0, LLONG_MAX), "9223372036854775808"),
              "key is not a whole number from 0 to 9223372036854775807");
}

TEST(JsonRules, NameThePlaceOfTheValue) {
    const JsonRule rule = HasMembers({{"a", IsListOf(HasMembers({{"b", IsHex(2)}}))}});

    EXPECT_EQ(Broken(rule, R"({"a": [{"b": "0f"}], "more": 1})"), "");
    EXPECT_EQ(Broken(rule, R"({"a": [{"b": "0f"}, {"b": "0F"}]})"),
              "key.a[1].b is not a number of 2 hexadecimal digits");
    EXPECT_EQ(Broken(rule, R"({"a": [{}]})"), "key.a[0].b is missing");
    EXPECT_EQ(Broken(rule, R"({"a": 4})"), "key.a is not a list");
    EXPECT_EQ(Broken(rule, "[]"), "key is not an object");
}

TEST(JsonRules, OfWordsListsAndNull) {
    EXPECT_EQ(Broken(IsOneOf({"a", "b"}), "\"b\""), "");
    EXPECT_EQ(Broken(IsOneOf({"a", "b"}), "\"c\""), "key is not one of a, b");
    EXPECT_EQ(Broken(IsListOf(IsFlag(), 2), "[true, false]"), "");
    EXPECT_EQ(Broken(IsListOf(IsFlag(), 2), "[true]"), "key is not a list of 2 items");
    EXPECT_EQ(Broken(IsListOf(IsFlag(), 2), "[true, 1]"), "key[1] is not true or false");
    EXPECT_EQ(Broken(IsNullOr(IsText()), "null"), "");
    EXPECT_EQ(Broken(IsNullOr(IsText()), "\"\""), "key is not a text");
}

}  // namespace
}  // namespace orlo::host
