// SPDX-License-Identifier: MIT
#include "host/otio/JsonDocument.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/TemporaryFolder.h"

namespace orlo::host::otio {
namespace {

std::string Problem(const std::string& text) {
    try {
        ParseDocument(text);
    } catch (const DocumentError& error) {
        return error.what();
    }
    return "none";
}

bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(JsonDocument, NonFiniteNumbersReadAsNull) {
    const Json document = ParseDocument(R"([NaN,-NaN,Inf,-Inf,Infinity,-Infinity,1,{"a":NaN}])");

    EXPECT_EQ(document.ToLine(), R"([null,null,null,null,null,null,1,{"a":null}])");
}

TEST(JsonDocument, TheSameWordsInStringsAreUnchanged) {
    EXPECT_EQ(ParseDocument(R"(["NaN","a\"Inf",{"-Infinity":"x"}])").ToLine(),
              R"(["NaN","a\"Inf",{"-Infinity":"x"}])");
}

TEST(JsonDocument, PartsOfOtherWordsAreNotNumbers) {
    EXPECT_TRUE(Contains(Problem("[NaNs]"), "invalid JSON"));
    EXPECT_TRUE(Contains(Problem("[xInf]"), "invalid JSON"));
    EXPECT_TRUE(Contains(Problem("[Inf.5]"), "invalid JSON"));
}

TEST(JsonDocument, AnErrorNamesLineAndColumn) {
    EXPECT_TRUE(Contains(Problem("{\n  \"a\": 1,\n  \"b\": ?\n}"), "line 3, column 8"));
}

TEST(JsonDocument, AReplacedNumberDoesNotMoveTheColumn) {
    EXPECT_TRUE(Contains(Problem("[NaN,Inf,-Infinity,?]"), "line 1, column 20"));
}

TEST(JsonDocument, TextThatIsNotJsonIsRefused) {
    for (const char* text : {"", "{", "x", "[1]x", "[1][2]", "\xFF\xFE{\0"}) {
        EXPECT_TRUE(Contains(Problem(text), "invalid JSON")) << text;
    }
}

TEST(JsonDocument, AByteOrderMarkIsIgnored) {
    EXPECT_EQ(ParseDocument("\xEF\xBB\xBF[1]").ToLine(), "[1]");
}

TEST(JsonDocument, StringsMustBeUtf8) {
    EXPECT_TRUE(Contains(Problem("[\"\xFF\xFE\"]"), "invalid JSON"));
}

TEST(JsonDocument, NumbersBeyondTheRangeOfADoubleAreRefused) {
    EXPECT_TRUE(Contains(Problem("[1e400]"), "invalid JSON"));
}

TEST(JsonDocument, NestingIsLimitedToAThousandLevels) {
    const auto nested = [](int depth) {
        return std::string(static_cast<std::size_t>(depth), '[') +
               std::string(static_cast<std::size_t>(depth), ']');
    };

    EXPECT_EQ(Problem(nested(1000)), "none");
    EXPECT_TRUE(Contains(Problem(nested(1001)), "nested deeper than 1000 levels"));
    EXPECT_TRUE(Contains(Problem(nested(1000000)), "nested deeper than 1000 levels"));
}

TEST(JsonDocument, TooManyValuesAreRefused) {
    std::string text = "[0";
    for (int i = 0; i < 4'000'000; ++i) text += ",0";
    text += "]";

    EXPECT_TRUE(Contains(Problem(text), "more than 4000000 values"));
}

TEST(JsonDocument, MetadataOfOtherProgramsAndMarkersAreDropped) {
    const Json document = ParseDocument(
        R"([[{"metadata":{"cmx":{"a":[1]},"sonrel":{"muted":true,"metadata":{"x":1}},"y":2},)"
        R"("markers":[{"metadata":{"z":{}}}],"children":[{"metadata":3,"name":"n"},[{"x":1}]]}]])");

    EXPECT_EQ(document.ToLine(), R"([[{"children":[{"metadata":3,"name":"n"},[{"x":1}]],)"
                                 R"("metadata":{"sonrel":{"metadata":{"x":1},"muted":true}}}]])");
}

TEST(JsonDocument, MetadataOfTheTimelineAndOfItsStackStay) {
    const std::string text = R"({"metadata":{"editor":{"start":"01:00:00;00"}},)"
                             R"("tracks":{"metadata":{"editor":{"start":"01:00:00;00"}}}})";

    EXPECT_EQ(ParseDocument(text).ToLine(), text);
}

TEST(JsonDocument, TheLastOfTwoEqualKeysCounts) {
    EXPECT_EQ(ParseDocument(R"({"rate":24,"rate":0})").ToLine(), R"({"rate":0})");
}

TEST(JsonDocument, AFolderOrADeviceIsRefused) {
    EXPECT_THROW(ReadDocument("/"), DocumentError);
    EXPECT_THROW(ReadDocument("/dev/zero"), DocumentError);
    EXPECT_THROW(ReadDocument("/nowhere/x.otio"), DocumentError);
}

TEST(JsonDocument, AFileAbove256MiBIsRefusedUnread) {
    const sonrel_tests::TemporaryFolder folder;
    sonrel_tests::WriteFile(folder / "big.otio", "{}");
    std::filesystem::resize_file(folder / "big.otio", (256LL << 20) + 1);

    EXPECT_THROW(ReadDocument(folder / "big.otio"), DocumentError);
}

}  // namespace
}  // namespace orlo::host::otio
