// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

constexpr int MEDIA_RATE = 48000;
constexpr long long MEDIA_SAMPLES = 3 * MEDIA_RATE;
constexpr long long SECTION = 30000;
/// Half a millisecond, and a sample for the rounding to samples.
constexpr double GRID_TOLERANCE = 0.0005 + 1.0 / MEDIA_RATE;

/// A stereo WAV whose samples encode their position: left is its remainder by 30000, right its
/// quotient, each plus 1. No sample is silent.
std::string PositionWav() {
    std::string data;
    for (long long i = 0; i < MEDIA_SAMPLES; ++i) {
        data += Little(static_cast<std::uint16_t>(i % SECTION + 1), 2);
        data += Little(static_cast<std::uint16_t>(i / SECTION + 1), 2);
    }
    return Riff(Chunk("fmt ", PcmFormat(1, 2, MEDIA_RATE, 16)) + Chunk("data", data));
}

/// The position in the media that a sample of the mix encodes; -1 for silence.
long long PositionAt(const std::string& samples, long long index) {
    std::int16_t values[2];
    std::memcpy(values, samples.data() + 4 * index, sizeof(values));
    return values[0] == 0 ? -1 : values[0] - 1 + (values[1] - 1) * SECTION;
}

/// A stretch of the mix that plays the media without a jump, in samples.
struct Stretch {
    long long begin = 0;
    long long end = 0;
    long long source = 0;
};

std::vector<Stretch> Stretches(const std::string& samples) {
    std::vector<Stretch> stretches;
    long long previous = -1;
    const auto count = static_cast<long long>(samples.size() / 4);
    for (long long i = 0; i < count; ++i) {
        const long long position = PositionAt(samples, i);
        if (position >= 0 && previous >= 0 && position == previous + 1) {
            ++stretches.back().end;
        } else if (position >= 0) {
            stretches.push_back({i, i + 1, position});
        }
        previous = position;
    }
    return stretches;
}

/// A clip in seconds, as the timeline means it.
struct Wanted {
    double begin = 0.0;
    double end = 0.0;
    double source = 0.0;
};

class FrameGridProgram : public testing::Test {
protected:
    void SetUp() override { WriteFile(shop_.Work("a.wav"), PositionWav()); }

    void Write(const Json& document) { WriteFile(shop_.Work("edit.otio"), document.dump()); }

    ProgramResult Mix(std::vector<std::string> more = {}) {
        std::vector<std::string> arguments{"mix",      "@edit.otio", "-o",    "@out.wav",
                                           "--dither", "none",       "--json"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return shop_.Run(arguments);
    }

    void ExpectHeard(const std::vector<Wanted>& wanted, const std::string& dialect) {
        const ProgramResult result = Mix();
        ASSERT_EQ(result.exitCode, 0) << dialect << result.err;
        for (const auto& entry : result.Json().at("notTakenOver")) {
            EXPECT_NE(entry.at("what"), "position") << dialect;
        }
        const std::vector<Stretch> heard = Stretches(SampleBytes(shop_.Work("out.wav")));
        ASSERT_EQ(heard.size(), wanted.size()) << dialect;
        for (std::size_t i = 0; i < heard.size(); ++i) {
            const auto seconds = [](long long sample) {
                return static_cast<double>(sample) / MEDIA_RATE;
            };
            EXPECT_NEAR(seconds(heard[i].begin), wanted[i].begin, GRID_TOLERANCE) << dialect << i;
            EXPECT_NEAR(seconds(heard[i].end), wanted[i].end, GRID_TOLERANCE) << dialect << i;
            EXPECT_NEAR(seconds(heard[i].source), wanted[i].source, GRID_TOLERANCE) << dialect << i;
        }
    }

    Workshop shop_;
};

TEST_F(FrameGridProgram, CutsAreHeardWithinHalfAMillisecondInEveryDialect) {
    // Times in seconds at the rate 1.
    Write(Timeline({Track(
        {Clip("a.wav", 0.3137, 0.4519, 1), Gap(0.1003, 1), Clip("a.wav", 1.2, 0.7331, 1)})}));
    ExpectHeard({{0.0, 0.4519, 0.3137}, {0.5522, 1.2853, 1.2}}, "seconds");

    // Audio ranges at a sample rate, pictures at 24 frames a second.
    Write(Timeline({Track({Gap(48, 24)}, "V1", "Video"),
                    Track({Gap(4410, 44100), Clip("a.wav", 12345, 33333, 44100),
                           Clip("a.wav", 54321, 22222, 44100)})}));
    const double first = (4410 + 33333) / 44100.0;
    ExpectHeard({{0.1, first, 12345 / 44100.0}, {first, first + 22222 / 44100.0, 54321 / 44100.0}},
                "44100");

    // Audio ranges at 24000, pictures at 23.976.
    Write(Timeline({Track({Gap(48, 23.976)}, "V1", "Video"),
                    Track({Clip("a.wav", 1001, 24000, 24000), Gap(1500, 24000),
                           Clip("a.wav", 7001, 12345, 24000)})}));
    ExpectHeard({{0.0, 1.0, 1001 / 24000.0}, {1.0625, 1.0625 + 12345 / 24000.0, 7001 / 24000.0}},
                "24000");

    // Fractional frames.
    Write(Timeline({Track({Gap(3.3, 25), Clip("a.wav", 10.7, 20.45, 25)})}));
    ExpectHeard({{3.3 / 25, 23.75 / 25, 10.7 / 25}}, "fractions");

    // Mixed rates.
    Write(Timeline({Track({Clip("a.wav", 7, 10, 30), Clip("a.wav", 31, 11, 24),
                           Clip("a.wav", 1, 13, 25), Gap(1, 24)})}));
    const double second = 10 / 30.0 + 11 / 24.0;
    ExpectHeard({{0.0, 10 / 30.0, 7 / 30.0},
                 {10 / 30.0, second, 31 / 24.0},
                 {second, second + 13 / 25.0, 1 / 25.0}},
                "mixed");
}

TEST_F(FrameGridProgram, Grid1CutsOnTheFramesOfTheTimeline) {
    Write(Timeline({Track({Gap(3.3, 25), Clip("a.wav", 10.7, 20.45, 25)})}));

    const ProgramResult result = Mix({"--grid", "1"});

    // 3.3 frames are frame 3, 23.75 frames are frame 24, 10.7 frames are frame 11.
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::vector<Stretch> heard = Stretches(SampleBytes(shop_.Work("out.wav")));
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_EQ(heard[0].begin, 3 * 1920);
    EXPECT_EQ(heard[0].end, 24 * 1920);
    EXPECT_EQ(heard[0].source, 11 * 1920);
    EXPECT_EQ(result.Json().at("grid"), 1);
    const auto entry = result.Json().at("notTakenOver").at(0);
    EXPECT_EQ(entry.at("what"), "position");
    // Both edges, the in-point and the end of the timeline.
    EXPECT_EQ(entry.at("count"), 4);
}

TEST_F(FrameGridProgram, InfoCountsFramesOfTheTimelineWithFractions) {
    Write(Timeline({Track({Gap(3.25, 25), Clip("a.wav", 10.5, 20.25, 25)})}));

    const ProgramResult result = shop_.Run({"info", "@edit.otio", "--json"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    const auto report = result.Json();
    EXPECT_EQ(report.at("fps"), 25.0);
    EXPECT_EQ(report.at("grid"), 4);
    EXPECT_EQ(report.at("frames"), 23.5);
    const auto object = report.at("tracks").at(0).at("objects").at(0);
    EXPECT_EQ(object.at("startFrame"), 3.25);
    EXPECT_EQ(object.at("endFrame"), 23.5);
    EXPECT_EQ(object.at("sourceStartFrame"), 10.5);
    EXPECT_DOUBLE_EQ(object.at("startSeconds"), 0.13);
    EXPECT_DOUBLE_EQ(object.at("endSeconds"), 0.94);
    EXPECT_DOUBLE_EQ(object.at("sourceStartSeconds"), 0.42);
    EXPECT_NE(shop_.Run({"info", "@edit.otio"}).out.find("frames 3.25 to 23.5: 'clip'"),
              std::string::npos);
}

TEST_F(FrameGridProgram, APositionCountsFramesOfTheTimeline) {
    Write(Timeline({Track({Clip("a.wav", 0, 20.25, 25)})}));

    ASSERT_EQ(Mix({"--from", "10f", "--to", "00:00:00:15"}).exitCode, 0);

    const std::vector<Stretch> heard = Stretches(SampleBytes(shop_.Work("out.wav")));
    ASSERT_EQ(heard.size(), 1u);
    EXPECT_EQ(heard[0].source, 10 * 1920);
    EXPECT_EQ(heard[0].end, 5 * 1920);
}

TEST_F(FrameGridProgram, PlaybackToAFileHasTheBytesOfTheMixAndAnEventForEachFrame) {
    Write(Timeline({Track({Gap(1.25, 25), Clip("a.wav", 10.5, 2.5, 25), Gap(0.25, 25)})}));
    ASSERT_EQ(Mix().exitCode, 0);

    const ProgramResult result =
        shop_.Run({"play", "@edit.otio", "--output", "@play.wav", "--dither", "none", "--events"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(SampleBytes(shop_.Work("play.wav")), SampleBytes(shop_.Work("out.wav")));
    for (int frame = 0; frame < 4; ++frame) {
        const std::string event = R"({"event":"frame","frame":)" + std::to_string(frame) + "}\n";
        const std::size_t first = result.out.find(event);
        ASSERT_NE(first, std::string::npos) << frame;
        EXPECT_EQ(result.out.find(event, first + 1), std::string::npos) << frame;
    }
    EXPECT_EQ(result.out.find(R"("frame":4})"), std::string::npos);
}

TEST_F(FrameGridProgram, ASoundDeviceLimitsTheGridAndTheEntryNamesTheReason) {
    Write(Timeline({Track({Gap(0.125, 25), Clip("a.wav", 0, 2, 25)})}));
    setenv("SDL_AUDIODRIVER", "disk", 1);
    setenv("SDL_DISKAUDIOFILE", shop_.Work("device.raw").c_str(), 1);

    const ProgramResult device = shop_.Run({"play", "@edit.otio", "--json"});
    const ProgramResult file = shop_.Run({"play", "@edit.otio", "--output", "@o.wav", "--json"});
    unsetenv("SDL_AUDIODRIVER");
    unsetenv("SDL_DISKAUDIOFILE");

    // 49 frames of a grid of 3 last 0.65 s, of a grid of 4 only 0.49 s.
    ASSERT_EQ(device.exitCode, 0) << device.err;
    EXPECT_LE(device.Json().at("grid"), 3);
    const std::string entries = device.Json().at("notTakenOver").dump();
    EXPECT_NE(entries.find("the buffers of the sound device"), std::string::npos) << entries;
    ASSERT_EQ(file.exitCode, 0) << file.err;
    EXPECT_EQ(file.Json().at("grid"), 8);
    EXPECT_TRUE(file.Json().at("notTakenOver").empty());
}

TEST_F(FrameGridProgram, AGridThatIsTooFineIsWrongUsage) {
    Write(Timeline({Track({Clip("a.wav", 0, 2, 25)})}));
    const auto error = [&](const std::string& grid) {
        const ProgramResult result = Mix({"--grid", grid});
        EXPECT_EQ(result.exitCode, 2);
        return result.err;
    };

    EXPECT_NE(
        error("41").find("a grid of 41 is too fine at 25 frames a second: --grid may be 1 to 40"),
        std::string::npos);
    EXPECT_NE(error("0").find("'0' is neither auto nor a whole number above 0"), std::string::npos);
    EXPECT_EQ(Mix({"--grid", "auto"}).exitCode, 0);
}

TEST_F(FrameGridProgram, ThePictureOfAMediaFileGivesTheFrameRateWhenNothingElseDoes) {
    // An uncompressed picture of 2 x 2 at 30 frames a second.
    WriteFile(shop_.Work("a.y4m"), "YUV4MPEG2 W2 H2 F30:1 Ip A1:1 C420\nFRAME\n" +
                                       std::string(6, 'x') + "FRAME\n" + std::string(6, 'x'));
    Write(Timeline(
        {Track({Clip("a.y4m", 0, 1, 1)}, "V1", "Video"), Track({Clip("a.wav", 0, 1, 1)})}));

    const ProgramResult result = shop_.Run({"info", "@edit.otio", "--json"});

    EXPECT_EQ(result.Json().at("fps"), 30.0) << result.err;
    EXPECT_EQ(shop_.Run({"info", "@edit.otio", "--json", "--fps", "24000/1001"}).Json().at("fps"),
              24000.0 / 1001.0);
}

}  // namespace
}  // namespace sonrel_tests
