// SPDX-License-Identifier: MIT
#include <atomic>
#include <cstdarg>

#include "sonrel/standin/media/detail/Ffmpeg.h"
#include "tests/standin/media/MediaSupport.h"

using namespace sonrel_tests;

namespace {

std::atomic<int> messages = 0;

void CountMessage(void*, int, const char*, va_list) {
    ++messages;
}

}  // namespace

TEST(FfmpegLog, TheCallbackOfTheHostReceivesTheMessagesAboutAFileAndStaysInPlace) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", Riff(Chunk("data", NoiseBytes(400))));  // no format chunk
    av_log_set_callback(&CountMessage);

    EXPECT_NE(OpenedMedia(folder / "a.wav").CreateCode(), 0);
    const int aboutTheFile = messages;
    av_log(nullptr, AV_LOG_ERROR, "a message of the host");

    EXPECT_GT(aboutTheFile, 0);
    EXPECT_EQ(messages, aboutTheFile + 1);
    av_log_set_callback(&av_log_default_callback);
}
