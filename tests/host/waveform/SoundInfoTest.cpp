// SPDX-License-Identifier: MIT
#include "host/waveform/SoundInfo.h"

#include <gtest/gtest.h>

#include "host/shell/Errors.h"

namespace {

using namespace orlo::host;
using zrh::media::MediaInfo;
using zrh::media::MediaStreamInfo;
using zrh::media::MediaStreamKind;
using zrh::media::SoundChoice;

MediaInfo FileWithPicture(double fps, const std::string& timecode) {
    MediaInfo info;
    MediaStreamInfo picture;
    picture.kind = MediaStreamKind::Video;
    picture.frameRate = fps;
    MediaStreamInfo sound;
    sound.kind = MediaStreamKind::Audio;
    sound.layout = "5.1";
    info.streams = {picture, sound};
    info.timecode = timecode;
    return info;
}

TEST(ClockOfMedia, CountsTheFramesOfThePictureFromTheTimecodeOfTheFile) {
    GlobalOptions global;
    global.fps = 50.0;
    std::string note;

    const RulerClock clock = ClockOfMedia(FileWithPicture(25.0, "01:00:00:05"), global, note);

    EXPECT_EQ(clock.fps, 25.0);
    EXPECT_FALSE(clock.dropFrame);
    EXPECT_EQ(clock.startFrame, 90005);
    EXPECT_EQ(note, "");
}

TEST(ClockOfMedia, WithoutAPictureCountsFramesOfTheOptionAndElse25) {
    GlobalOptions global;
    std::string note;
    EXPECT_EQ(ClockOfMedia({}, global, note).fps, 25.0);
    global.fps = 30000.0 / 1001.0;
    EXPECT_FALSE(ClockOfMedia({}, global, note).dropFrame);
    global.dropFrame = true;
    EXPECT_TRUE(ClockOfMedia({}, global, note).dropFrame);
    EXPECT_EQ(ClockOfMedia({}, global, note).startFrame, 0);
}

TEST(ClockOfMedia, ADropFrameTimecodeKeepsItsNumbers) {
    std::string note;

    const RulerClock clock =
        ClockOfMedia(FileWithPicture(30000.0 / 1001.0, "00:01:00;02"), {}, note);

    EXPECT_TRUE(clock.dropFrame);
    EXPECT_EQ(clock.startFrame, 1800);
}

TEST(ClockOfMedia, ATimecodeThatIsNotUsableIsNoted) {
    std::string note;

    EXPECT_EQ(ClockOfMedia(FileWithPicture(25.0, "01:00:00:99"), {}, note).startFrame, 0);

    EXPECT_NE(note, "");
}

TEST(ClockOfMedia, LessThanAFrameASecondIsRefused) {
    std::string note;
    EXPECT_THROW(ClockOfMedia(FileWithPicture(0.2, ""), {}, note), UsageError);
}

TEST(NamesOfSound, AreThoseOfTheStreamOrOfTheChosenSides) {
    const MediaInfo info = FileWithPicture(25.0, "");
    using SoundNames = std::vector<std::string>;

    EXPECT_EQ(NamesOfSound(info, SoundChoice::OfStream(0), 6),
              (SoundNames{"L", "R", "C", "LFE", "Ls", "Rs"}));
    EXPECT_EQ(NamesOfSound(info, SoundChoice::OfStream(1), 3), (SoundNames{"1", "2", "3"}));
    EXPECT_EQ(NamesOfSound(info, SoundChoice::OfChannels({0, 3}, {0, 4}), 2),
              (SoundNames{"L", "R"}));
    EXPECT_EQ(NamesOfSound(info, SoundChoice::OfChannels({0, 3}, {0, 3}), 1), (SoundNames{"M"}));
}

}  // namespace
