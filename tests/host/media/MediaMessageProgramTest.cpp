// SPDX-License-Identifier: MIT
// The reasons in the messages about media files that cannot be read.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

TEST(MediaMessage, ATruncatedMp4HasTheReasonOfTheDecodingLibrary) {
    const Workshop shop;
    const std::string make = "ffmpeg -loglevel error -f lavfi -i sine=duration=2 -c:a aac '" +
                             shop.Work("whole.mp4").string() + "'";
    ASSERT_EQ(std::system(make.c_str()), 0);
    // The index is at the end of the file.
    WriteFile(shop.Work("cut.mp4"), ReadFile(shop.Work("whole.mp4")).substr(0, 8000));
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"mix", "@cut.mp4", "-o", "@out.wav"}, {"info", "@cut.mp4"}}) {
        const ProgramResult result = shop.Run(arguments);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_NE(result.err.find("moov atom not found"), std::string::npos) << result.err;
    }
}

TEST(MediaMessage, AUrlAsInputIsCalledAUrl) {
    const Workshop shop;
    for (const char* command : {"info", "conform", "peaks"}) {
        const ProgramResult result = shop.Run({command, "https://example.com/a.mp4"});
        EXPECT_EQ(result.exitCode, 2) << command;
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_NE(result.err.find("'https://example.com/a.mp4' is a URL"), std::string::npos)
            << result.err;
    }
}

TEST(MediaMessage, APathOfAnotherSystemIsShownAsTheTimelineHasIt) {
    const Workshop shop;
    WriteFile(shop.Work("edit.otio"), Timeline({Track({Clip("D:/footage/x.wav", 0, 10)})}).dump());

    const ProgramResult result = shop.Run({"mix", "@edit.otio", "-o", "@out.wav"});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_NE(result.err.find("missing: 'D:/footage/x.wav'"), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("--media-root"), std::string::npos) << result.err;
}

}  // namespace
}  // namespace sonrel_tests
