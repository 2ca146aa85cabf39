// SPDX-License-Identifier: MIT
// The format of a sound output, by its extension.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numbers>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;

constexpr int SOUND_RATE = 48000;
constexpr int SOUND_FRAMES = 48000;
constexpr double SOUND_HERTZ = 440.0;
constexpr double SOUND_AMPLITUDE = 8000.0;

/// One second of a tone, the right channel with half the amplitude.
std::string SoundTone() {
    std::string data;
    for (int i = 0; i < SOUND_FRAMES; ++i) {
        const double value =
            SOUND_AMPLITUDE * std::sin(2.0 * std::numbers::pi * SOUND_HERTZ * i / SOUND_RATE);
        for (const double scale : {1.0, 0.5}) {
            const auto sample = static_cast<std::int16_t>(std::lround(scale * value));
            data += Little(static_cast<std::uint16_t>(sample), 2);
        }
    }
    return data;
}

/// Amplitude of the tone in one channel of 16-bit stereo.
double SoundAmplitude(const std::string& samples, std::size_t channel) {
    double real = 0.0;
    double imaginary = 0.0;
    const std::size_t frames = samples.size() / 4;
    for (std::size_t i = 0; i < frames; ++i) {
        std::int16_t value = 0;
        std::memcpy(&value, samples.data() + 4 * i + 2 * channel, 2);
        const double angle =
            2.0 * std::numbers::pi * SOUND_HERTZ * static_cast<double>(i) / SOUND_RATE;
        real += value * std::cos(angle);
        imaginary += value * std::sin(angle);
    }
    return 2.0 * std::hypot(real, imaginary) / static_cast<double>(frames);
}

class SoundOutputProgram : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("a.wav"), Riff(Chunk("fmt ", PcmFormat(1, 2, SOUND_RATE, 16)) +
                                            Chunk("data", SoundTone())));
        WriteFile(
            shop_.Work("edit.otio"),
            WithOurs(Timeline({Track({Clip("a.wav", 0, 25)})}), {{"masterLevel", -1.0}}).dump());
    }

    /// The samples of a file, decoded by another program.
    std::string Decode(const std::string& name) const {
        const std::string command = "ffmpeg -loglevel error -y -i '" + shop_.Work(name).string() +
                                    "' -f s16le -c:a pcm_s16le '" + shop_.Work("decoded").string() +
                                    "'";
        EXPECT_EQ(std::system(command.c_str()), 0) << command;
        return ReadFile(shop_.Work("decoded"));
    }

    void Mix(const std::string& name) const {
        const ProgramResult result = shop_.Run({"mix", "@edit.otio", "-o", "@" + name});
        EXPECT_EQ(result.exitCode, 0) << result.err;
    }

    Workshop shop_;
};

TEST_F(SoundOutputProgram, ALosslessFileDecodesToTheSamplesOfTheWav) {
    Mix("out.wav");
    const std::string samples = ReadFile(shop_.Work("out.wav")).substr(44);
    ASSERT_EQ(samples.size(), 4u * SOUND_FRAMES);
    for (const std::string name : {"out.flac", "out.w64", "out.aiff", "out.aif", "out.caf"}) {
        Mix(name);
        EXPECT_TRUE(Decode(name) == samples) << name;
    }
}

TEST_F(SoundOutputProgram, TheFileBeginsWithTheSignatureOfItsFormat) {
    for (const auto& [name, signature] :
         std::vector<std::pair<std::string, std::string>>{{"out.flac", "fLaC"},
                                                          {"out.ogg", "OggS"},
                                                          {"out.opus", "OggS"},
                                                          {"out.w64", "riff"},
                                                          {"out.aiff", "FORM"},
                                                          {"out.CAF", "caff"}}) {
        Mix(name);
        EXPECT_EQ(ReadFile(shop_.Work(name)).substr(0, 4), signature) << name;
    }
}

TEST_F(SoundOutputProgram, ALossyFileHasTheLengthAndTheLevelsOfTheMix) {
    // The master level of -1 dB is a factor of 0.8913.
    const double expected = SOUND_AMPLITUDE * 0.8913;
    for (const std::string name : {"out.ogg", "out.opus"}) {
        Mix(name);
        const std::string samples = Decode(name);
        EXPECT_EQ(samples.size(), 4u * SOUND_FRAMES) << name;
        EXPECT_NEAR(SoundAmplitude(samples, 0), expected, 0.03 * expected) << name;
        EXPECT_NEAR(SoundAmplitude(samples, 1), expected / 2, 0.03 * expected) << name;
    }
}

TEST_F(SoundOutputProgram, TheSameCommandTwiceWritesTheSameBytesInEveryFormat) {
    for (const std::string extension : {".flac", ".ogg", ".opus", ".w64", ".aiff", ".caf"}) {
        Mix("first" + extension);
        Mix("second" + extension);
        EXPECT_TRUE(ReadFile(shop_.Work("first" + extension)) ==
                    ReadFile(shop_.Work("second" + extension)))
            << extension;
    }
}

TEST_F(SoundOutputProgram, AnUnknownExtensionOrNoneIsWrongUsageAndWritesNothing) {
    const std::vector<std::string> before = NamesIn(shop_.Path("work"));
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"mix", "@edit.otio", "-o", "@out.mp3"},
                                               {"mix", "@edit.otio", "-o", "@out"},
                                               {"mix", "@a.wav", "-o", "@out.raw"},
                                               {"play", "@edit.otio", "--output", "@out.mp3"},
                                               {"play", "@a.wav", "--output", "@out"},
                                               {"waveform", "@a.wav", "-o", "@out.jpg"},
                                               {"waveform", "@a.wav", "-o", "@out"}}) {
        const ProgramResult result = shop_.Run(arguments);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(arguments);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_NE(result.err.find("; use ."), std::string::npos) << result.err;
    }
    EXPECT_EQ(NamesIn(shop_.Path("work")), before);
}

TEST_F(SoundOutputProgram, PlayWritesSoundFilesAndRawSamplesByExtension) {
    Mix("mix.wav");
    const std::string samples = ReadFile(shop_.Work("mix.wav")).substr(44);
    for (const std::string name : {"out.flac", "out.raw", "out.PCM"}) {
        ASSERT_EQ(shop_.Run({"play", "@edit.otio", "--output", "@" + name}).exitCode, 0) << name;
    }
    EXPECT_TRUE(Decode("out.flac") == samples);
    EXPECT_TRUE(ReadFile(shop_.Work("out.raw")) == samples);
    EXPECT_TRUE(ReadFile(shop_.Work("out.PCM")) == samples);
}

TEST_F(SoundOutputProgram, OpusNamesTheSampleRatesThatItHas) {
    const ProgramResult result =
        shop_.Run({"--rate", "44100", "mix", "@edit.otio", "-o", "@out.opus"});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_NE(result.err.find("8000, 12000, 16000, 24000 and 48000"), std::string::npos);
    EXPECT_FALSE(fs::exists(shop_.Work("out.opus")));
}

}  // namespace
}  // namespace sonrel_tests
