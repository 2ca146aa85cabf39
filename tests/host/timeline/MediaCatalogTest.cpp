// SPDX-License-Identifier: MIT
#include "host/timeline/MediaCatalog.h"

#include <gtest/gtest.h>

namespace orlo::host {
namespace {

using otio::MediaClock;
using zrh::media::MediaInfo;
using zrh::media::MediaStreamInfo;
using zrh::media::MediaStreamKind;

/// A file of 10 seconds with a picture and sound.
MediaInfo Camera(double fps) {
    MediaStreamInfo picture;
    picture.kind = MediaStreamKind::Video;
    picture.frameRate = fps;
    picture.frameCount = static_cast<long long>(10 * fps);
    MediaStreamInfo sound;
    sound.kind = MediaStreamKind::Audio;
    sound.sampleRate = 48000;
    sound.sampleCount = 480000;
    MediaInfo info;
    info.streams = {picture, sound};
    return info;
}

/// Adds a timecode track.
MediaInfo WithTrack(MediaInfo info, const std::string& timecode, double rate) {
    MediaStreamInfo track;
    track.timecode = timecode;
    track.timecodeRate = rate;
    info.streams.push_back(track);
    return info;
}

void ExpectProblem(const MediaInfo& info, const std::string& problem) {
    const MediaClock clock = ClockOf(info, 25.0);
    EXPECT_FALSE(clock.start) << problem;
    EXPECT_EQ(clock.problem, problem);
}

TEST(MediaClock, ATimecodeTrackCountsAtItsOwnRate) {
    // A picture of 50 frames a second whose timecode numbers every second frame.
    const MediaClock clock = ClockOf(WithTrack(Camera(50), "10:00:00:12", 25.0), 30.0);

    EXPECT_DOUBLE_EQ(clock.start.value_or(-1.0), 36000.48);
    EXPECT_EQ(clock.timecode, "10:00:00:12");
    EXPECT_DOUBLE_EQ(clock.seconds, 10.0);
}

TEST(MediaClock, AnHourOfDropFrameTimecodeHas107892Frames) {
    const double fps = 30000.0 / 1001.0;

    EXPECT_DOUBLE_EQ(ClockOf(WithTrack(Camera(fps), "01:00:00;00", fps), 25.0).start.value_or(-1.0),
                     107892 / fps);
    EXPECT_DOUBLE_EQ(ClockOf(WithTrack(Camera(fps), "01:00:00:00", fps), 25.0).start.value_or(-1.0),
                     108000 / fps);
}

TEST(MediaClock, WithoutATrackThePictureGivesTheRateAndWithoutAPictureTheTimeline) {
    MediaInfo info = Camera(50);
    info.timecode = "00:01:00:25";
    EXPECT_DOUBLE_EQ(ClockOf(info, 30.0).start.value_or(-1.0), 60.5);

    info.streams.erase(info.streams.begin());
    info.timecode = "00:01:00:15";
    EXPECT_DOUBLE_EQ(ClockOf(info, 30.0).start.value_or(-1.0), 60.5);
}

TEST(MediaClock, ATimeReferenceCountsSamples) {
    MediaInfo info = Camera(25);
    info.timeReference = "172800000";

    EXPECT_DOUBLE_EQ(ClockOf(info, 25.0).start.value_or(-1.0), 3600.0);
}

TEST(MediaClock, ATimecodeThatIsNotUsableIsAProblem) {
    ExpectProblem(WithTrack(Camera(25), "-00:00:01:00", 25.0),
                  "its timecode '-00:00:01:00' does not exist at 25 frames a second and is not "
                  "used");
    ExpectProblem(WithTrack(Camera(25), "00:00:00:25", 25.0),
                  "its timecode '00:00:00:25' does not exist at 25 frames a second and is not "
                  "used");
    ExpectProblem(WithTrack(Camera(25), "99999999999:00:00:00", 25.0),
                  "its timecode '99999999999:00:00:00' is beyond 24 hours and is not used");
    ExpectProblem(WithTrack(Camera(25), "01:00:00:00", 30.0),
                  "its timecode counts 30 frames a second and its picture has 25; the timecode is "
                  "not used");
    MediaInfo two = WithTrack(Camera(25), "01:00:00:00", 25.0);
    two.timecode = "02:00:00:00";
    ExpectProblem(two,
                  "its timecodes '02:00:00:00' and '01:00:00:00' contradict each other and are not "
                  "used");
    MediaInfo reference = Camera(25);
    reference.timeReference = "18446744073709551615";
    ExpectProblem(reference,
                  "its time reference '18446744073709551615' is not a usable number of samples and "
                  "is not used");
}

TEST(MediaClock, AFileWithoutATimecodeHasNoStartAndNoProblem) {
    ExpectProblem(Camera(25), "");
}

}  // namespace
}  // namespace orlo::host
