// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/host/NumberedSound.h"
#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"

namespace sonrel_tests {
namespace {

/// The description chunk of a Broadcast Wave file whose first sample is @p samples after midnight.
std::string BroadcastDescription(std::uint64_t samples) {
    return Chunk("bext", std::string(338, '\0') + Little(samples, 8) + std::string(256, '\0'));
}

class MediaTimecodeProgram : public testing::Test {
protected:
    void SetUp() override { WriteFile(shop_.Work("n.wav"), NumberedWave()); }

    /// Makes a file of numbered sound and a picture with a timecode, by the ffmpeg program.
    void Encode(const std::string& name, const std::string& timecode, const std::string& codec) {
        const std::string command =
            "cd '" + shop_.Work("").string() +
            "' && ffmpeg -nostdin -v error -y -f lavfi -i color=s=64x48:r=25:d=4 -i n.wav -c:v " +
            codec + " -c:a pcm_s16le -timecode " + timecode + " " + name;
        ASSERT_EQ(std::system(command.c_str()), 0);
    }

    /// Mixes a clip of 10 frames from 01:00:01:05, without an available_range.
    ProgramResult MixFromSourceTimecode(const std::string& media) {
        WriteFile(shop_.Work("edit.otio"), Timeline({Track({Clip(media, 90030, 10)})}).dump());
        return shop_.Run({"mix", "@edit.otio", "-o", "@out.wav", "--json", "--dither", "none"});
    }

    void ExpectFrames30To40(const ProgramResult& result) {
        ASSERT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(NumbersOfFrames(shop_.Work("out.wav")),
                  (std::vector<int>{30, 31, 32, 33, 34, 35, 36, 37, 38, 39}));
        const auto entries = result.Json().at("notTakenOver");
        ASSERT_EQ(entries.size(), 1u) << result.out;
        EXPECT_NE(entries.at(0).at("reason").get<std::string>().find("as a guess"),
                  std::string::npos);
    }

    Workshop shop_;
};

TEST_F(MediaTimecodeProgram, AClipCountsFromTheTimecodeTrackOfAQuickTimeFile) {
    Encode("a.mov", "01:00:00:00", "mpeg4");

    ExpectFrames30To40(MixFromSourceTimecode("a.mov"));
}

TEST_F(MediaTimecodeProgram, AClipCountsFromTheTimecodeOfAnMxfFile) {
    Encode("a.mxf", "01:00:00:00", "mpeg2video");

    ExpectFrames30To40(MixFromSourceTimecode("a.mxf"));
}

TEST_F(MediaTimecodeProgram, AClipCountsFromTheTimeReferenceOfABroadcastWaveFile) {
    WriteFile(shop_.Work("a.wav"), NumberedWave(BroadcastDescription(3600ULL * 48000)));

    ExpectFrames30To40(MixFromSourceTimecode("a.wav"));
}

TEST_F(MediaTimecodeProgram, AWrongTimeReferenceIsOneEntryNextToTheSilence) {
    WriteFile(shop_.Work("a.wav"), NumberedWave(BroadcastDescription(~0ULL)));

    const ProgramResult result = MixFromSourceTimecode("a.wav");

    ASSERT_EQ(result.exitCode, 0) << result.err;
    const auto entries = result.Json().at("notTakenOver");
    ASSERT_EQ(entries.size(), 2u) << result.out;
    EXPECT_EQ(entries.at(0).at("reason"),
              "it asks for frames 90030 to 90040, the file has 100; "
              "it is silent from 00:00:00:00 to 00:00:00:10");
    EXPECT_EQ(entries.at(1).at("what"), "media file");
}

TEST_F(MediaTimecodeProgram, ATimecodeTrackWithAnyNumberEndsWithoutACrash) {
    Encode("a.mov", "23:59:59:24", "mpeg4");
    const std::string good = ReadFile(shop_.Work("a.mov"));
    const std::string number("\x00\x20\xF5\x7F", 4);  // frame 2159999
    const std::size_t at = good.find(number);
    ASSERT_NE(at, std::string::npos);
    for (const char* bad : {"\xFF\xFF\xFF\xFF", "\x80\x00\x00\x01", "\x7F\xFF\xFF\xFF"}) {
        std::string bytes = good;
        bytes.replace(at, 4, bad, 4);
        WriteFile(shop_.Work("b.mov"), bytes);

        const ProgramResult result = MixFromSourceTimecode("b.mov");

        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_GE(result.Json().at("notTakenOver").size(), 1u) << result.out;
    }
}

TEST_F(MediaTimecodeProgram, ADropFrameTimecodeOfAMediaFileMakesTimecodesDropFrame) {
    const std::string command =
        "cd '" + shop_.Work("").string() +
        "' && ffmpeg -nostdin -v error -y -f lavfi -i color=s=64x48:r=30000/1001:d=4 -i n.wav "
        "-c:v mpeg4 -c:a pcm_s16le -timecode '01:00:00;00' a.mov";
    ASSERT_EQ(std::system(command.c_str()), 0);
    const double fps = 30000.0 / 1001.0;
    Json document = Timeline({Track({Clip("a.mov", 0, 60, fps)})});
    document["global_start_time"] = Time(107892, fps);
    WriteFile(shop_.Work("edit.otio"), document.dump());

    const ProgramResult result = shop_.Run({"info", "@edit.otio", "--json"});

    EXPECT_EQ(result.Json().at("startTimecode"), "01:00:00;00");
}

TEST_F(MediaTimecodeProgram, InfoNamesTheTimecodeAndTheDurationOfEachStream) {
    Encode("a.mov", "01:00:00:00", "mpeg4");
    Encode("a.mxf", "10:00:00:00", "mpeg2video");

    const std::string mov = shop_.Run({"info", "@a.mov"}).out;
    const std::string mxf = shop_.Run({"info", "@a.mxf"}).out;

    for (const char* line :
         {"stream 1: video, mpeg4, 64x48, 25 frames a second, 100 frames\n"
          "        (0:00:04.000), timecode 01:00:00:00\n",
          "stream 2: audio 1, pcm_s16le, 48000 Hz, 2 channels", "stream 3: timecode, "}) {
        EXPECT_NE(mov.find(line), std::string::npos) << line << mov;
    }
    // An MXF file has one timecode for all its streams.
    const std::size_t video = mxf.find("stream 1: video");
    EXPECT_NE(mxf.find("timecode 10:00:00:00", video), std::string::npos) << mxf;
    EXPECT_NE(mxf.find("timecode 10:00:00:00", mxf.find("stream 2: audio 1")), std::string::npos)
        << mxf;
}

TEST_F(MediaTimecodeProgram, InfoNamesTheTimecodeOfAMediaFile) {
    WriteFile(shop_.Work("a.wav"), NumberedWave(BroadcastDescription(3600ULL * 48000)));

    const ProgramResult result = shop_.Run({"info", "@a.wav", "--json"});

    EXPECT_EQ(result.Json().at("media").at(0).at("timeReference"), "172800000");
}

}  // namespace
}  // namespace sonrel_tests
