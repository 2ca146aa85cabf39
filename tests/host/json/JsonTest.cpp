// SPDX-License-Identifier: MIT
#include "host/json/Json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace orlo::host {
namespace {

TEST(Json, MembersKeepTheOrderInWhichTheyWereAdded) {
    Json json = Json::Object({{"b", 1}});
    json["a"] = 2;
    json["c"] = 3;
    json["b"] = 4;

    EXPECT_EQ(json.ToLine(), R"({"b":4,"a":2,"c":3})");
}

TEST(Json, IndentedTextHasALineForEachItemAndMember) {
    const Json json = Json::Object({{"list", Json::Array({1, Json::Array({true})})},
                                    {"object", Json::Object({{"key", nullptr}})}});

    EXPECT_EQ(json.ToIndentedText(),
              "{\n"
              "  \"list\": [\n"
              "    1,\n"
              "    [\n"
              "      true\n"
              "    ]\n"
              "  ],\n"
              "  \"object\": {\n"
              "    \"key\": null\n"
              "  }\n"
              "}");
}

TEST(Json, EmptyListsAndObjectsHaveNoLines) {
    const Json json = Json::Object({{"list", Json::Array()}, {"object", Json::Object()}});

    EXPECT_EQ(json.ToLine(), R"({"list":[],"object":{}})");
    EXPECT_EQ(json.ToIndentedText(), "{\n  \"list\": [],\n  \"object\": {}\n}");
}

TEST(Json, ANullValueBecomesAnObjectOrAnArrayWhenAMemberOrItemIsAdded) {
    Json json;
    json["outer"]["inner"].Append("x");

    EXPECT_EQ(json.ToLine(), R"({"outer":{"inner":["x"]}})");
}

TEST(Json, WholeNumbersKeepAll64Bits) {
    EXPECT_EQ(Json(std::numeric_limits<long long>::min()).ToLine(), "-9223372036854775808");
    EXPECT_EQ(Json(std::numeric_limits<unsigned long long>::max()).ToLine(),
              "18446744073709551615");
}

TEST(Json, FloatingPointNumbersHaveAsManyDigitsAsTheyNeed) {
    EXPECT_EQ(Json(25.0).ToLine(), "25.0");
    EXPECT_EQ(Json(0.1).ToLine(), "0.1");
    EXPECT_EQ(Json(0.1f).ToLine(), "0.10000000149011612");
    EXPECT_EQ(Json(1e-7).ToLine(), "1e-07");
    EXPECT_EQ(Json(-0.0).ToLine(), "-0.0");
}

TEST(Json, NumbersThatAreNotFiniteAreNull) {
    EXPECT_EQ(Json(std::nan("")).ToLine(), "null");
    EXPECT_EQ(Json(-std::numeric_limits<double>::infinity()).ToLine(), "null");
}

TEST(Json, ControlCharactersAndQuotationMarksAreEscaped) {
    EXPECT_EQ(Json("a\"b\\c\n\x01/\xC3\xA9").ToLine(), "\"a\\\"b\\\\c\\n\\u0001/\xC3\xA9\"");
    EXPECT_EQ(Json::Object({{"a\"", 1}}).ToLine(), R"({"a\"":1})");
}

TEST(Json, BytesThatAreNotUtf8AreReplaced) {
    EXPECT_EQ(Json("a\xFFz").ToLine(), "\"a\xEF\xBF\xBDz\"");
}

TEST(Json, OnlyWholeNumbersThatFitAreIntegers) {
    EXPECT_EQ(Json(-5).AsInteger(), -5);
    EXPECT_EQ(Json(9223372036854775807ULL).AsInteger(), 9223372036854775807LL);
    EXPECT_FALSE(Json(9223372036854775808ULL).AsInteger().has_value());
    EXPECT_FALSE(Json(5.0).AsInteger().has_value());
    EXPECT_FALSE(Json("5").AsInteger().has_value());
}

TEST(Json, AMemberIsFoundByItsName) {
    const Json json = Json::Object({{"a", 1}, {"b", 2}});

    ASSERT_NE(json.Find("b"), nullptr);
    EXPECT_EQ(json.Find("b")->AsNumber(), 2.0);
    EXPECT_EQ(json.Find("c"), nullptr);
    EXPECT_EQ(Json(1).Find("a"), nullptr);
}

}  // namespace
}  // namespace orlo::host
