// SPDX-License-Identifier: MIT
#include <atomic>
#include <cstdarg>
#include <string>
#include <vector>

#include "sonrel/media/input/DecoderVersion.h"
#include "sonrel/media/input/Ffmpeg.h"
#include "sonrel/media/input/MediaLog.h"
#include "tests/media/MediaSupport.h"

using namespace sonrel_tests;

namespace {

std::atomic<int> messages = 0;

void CountMessage(void*, int, const char*, va_list) {
    ++messages;
}

}  // namespace

TEST(FfmpegLog, TheCallbackAndTheLevelOfTheHostRemainAndReceiveTheMessagesAboutAFile) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", Riff(Chunk("data", NoiseBytes(400))));  // no format chunk
    av_log_set_callback(&CountMessage);
    av_log_set_level(AV_LOG_VERBOSE);

    EXPECT_NE(OpenedMedia(folder / "a.wav").CreateCode(), 0);
    const int aboutTheFile = messages;
    av_log(nullptr, AV_LOG_ERROR, "a message of the host");

    EXPECT_GT(aboutTheFile, 0);
    EXPECT_EQ(messages, aboutTheFile + 1);
    EXPECT_EQ(av_log_get_level(), AV_LOG_VERBOSE);
    av_log_set_callback(&av_log_default_callback);
    av_log_set_level(AV_LOG_INFO);
}

TEST(FfmpegLog, SetMediaLogPassesOnlyErrorsToTheHostAsLinesUntilItIsReset) {
    static std::vector<std::string> lines;
    zrh::media::SetMediaLog([](const std::string& line) { lines.push_back(line); });
    EXPECT_NE(OpenedMedia("/gone.wav").CreateCode(), 0);  // loads FFmpeg

    av_log(nullptr, AV_LOG_ERROR, "error %d\n", 7);
    av_log(nullptr, AV_LOG_WARNING, "a warning\n");
    zrh::media::SetMediaLog(nullptr);
    av_log(nullptr, AV_LOG_ERROR, "a later error\n");

    EXPECT_EQ(lines, std::vector<std::string>{"error 7"});
}

TEST(DecoderVersion, IsTheReleaseOfTheLoadedFfmpeg) {
    EXPECT_EQ(zrh::media::DecoderVersion(), ::av_version_info());
}
