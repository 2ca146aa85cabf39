// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <QImage>
#include <cstdlib>

#include "tests/host/ProgramRun.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

constexpr QRgb PAPER = 0xffffffff;
constexpr QRgb INK = 0xff102030;
constexpr QRgb CLIP = 0xffd0021b;

/// A file of 16-bit samples at 48000 Hz.
template <class Value>
std::string SoundFile(int channels, long long frames, const Value& valueAt) {
    std::string samples;
    for (long long frame = 0; frame < frames; ++frame) {
        for (int channel = 0; channel < channels; ++channel) {
            samples += Little(static_cast<std::uint16_t>(valueAt(frame, channel)), 2);
        }
    }
    return Riff(Chunk("fmt ", PcmFormat(1, channels, 48000, 16)) + Chunk("data", samples));
}

class WaveformFrameProgram : public testing::Test {
protected:
    template <class Value>
    void Write(int channels, long long frames, const Value& valueAt) {
        WriteFile(shop_.Work("in.wav"), SoundFile(channels, frames, valueAt));
    }

    ProgramResult Run(std::vector<std::string> more, const std::string& output = "@out.png") {
        std::vector<std::string> line{"waveform", "@in.wav", "-o", output};
        line.insert(line.end(), more.begin(), more.end());
        return shop_.Run(line);
    }

    /// The picture of a run that succeeds.
    QImage Draw(const std::vector<std::string>& more) {
        const ProgramResult result = Run(more);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        const std::string bytes = ReadFile(shop_.Work("out.png"));
        QImage image;
        EXPECT_TRUE(image.loadFromData(reinterpret_cast<const uchar*>(bytes.data()),
                                       static_cast<int>(bytes.size()), "PNG"));
        return image;
    }

    Workshop shop_;
};

/// FNV-1a of the pixels as red, green, blue and alpha.
std::uint64_t HashOf(const QImage& picture) {
    std::uint64_t hash = 0xcbf29ce484222325ull;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QRgb pixel = picture.pixel(x, y);
            for (const int value : {qRed(pixel), qGreen(pixel), qBlue(pixel), qAlpha(pixel)}) {
                hash = (hash ^ static_cast<std::uint64_t>(value)) * 0x100000001b3ull;
            }
        }
    }
    return hash;
}

/// Of any value of a pixel.
int LargestDifference(const QImage& one, const QImage& other) {
    int largest = 0;
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            const QRgb a = one.pixel(x, y);
            const QRgb b = other.pixel(x, y);
            for (const int difference : {qRed(a) - qRed(b), qGreen(a) - qGreen(b),
                                         qBlue(a) - qBlue(b), qAlpha(a) - qAlpha(b)}) {
                largest = std::max(largest, std::abs(difference));
            }
        }
    }
    return largest;
}

// The hashes come from the first version of the program, which had no frames and black as its
// only default colour. Opaque colours: translucent pixels depend on the processor.
TEST_F(WaveformFrameProgram, APictureOfOneColourKeepsItsBytes) {
    if (std::string(qVersion()) != "5.15.8") GTEST_SKIP() << "another drawing library";
    const struct {
        const char* style;
        const char* scale;
        const char* size;
        std::uint64_t hash;
    } pictures[] = {
        {"lanes", "linear", "150x61", 0xe7208986eedbe0ffull},
        {"lanes", "linear", "401x60", 0x22fcef2e0c226401ull},
        {"lanes", "log", "150x61", 0xd4329fb49c764009ull},
        {"lanes", "log", "401x60", 0x59cdcdb98e4a012bull},
        {"overlaid", "linear", "150x61", 0xb04bf8a3d2ab26f5ull},
        {"overlaid", "linear", "401x60", 0x805090eae1f758ddull},
        {"overlaid", "log", "150x61", 0x15a0a6f1b5ff2587ull},
        {"overlaid", "log", "401x60", 0x508b3c016e7302aaull},
        {"rms", "linear", "150x61", 0xe9e84ba3bfb72a77ull},
        {"rms", "linear", "401x60", 0x3a69b9c7718fc563ull},
        {"rms", "log", "150x61", 0xed9daa4db937d569ull},
        {"rms", "log", "401x60", 0xde0a3f3fe4cedd73ull},
    };
    Write(2, 6400, [](long long frame, int channel) {
        return ((frame * 7919 + channel * 104729) % 4001 - 2000) * ((frame / 640) % 17);
    });
    for (const auto& [style, scale, size, hash] : pictures) {
        for (const char* format : {"rgb888", "argb32"}) {
            const QImage picture =
                Draw({"--size", size, "--style", style, "--scale", scale, "--format", format,
                      "--color", "C86432", "--background", "0A141E", "--range", "64smp:6336smp"});
            EXPECT_EQ(HashOf(picture), hash) << style << scale << size << format;
        }
    }
}

// ---- colours

TEST_F(WaveformFrameProgram, EachChannelHasItsColourInLanesAndOverlaid) {
    // The second channel is half as loud.
    Write(2, 6400, [](long long frame, int channel) {
        return (frame % 2 == 0 ? 1 : -1) * (channel == 0 ? 32000 : 16000);
    });

    const QImage lanes = Draw({"--size", "200x100", "--style", "lanes"});
    EXPECT_EQ(lanes.pixel(100, 10), 0xff1f6fb4);
    EXPECT_EQ(lanes.pixel(100, 72), 0xffb35a00);
    EXPECT_EQ(lanes.pixel(100, 52), PAPER);
    const QImage overlaid = Draw({"--size", "200x100", "--style", "overlaid"});
    EXPECT_EQ(overlaid.pixel(100, 15), 0xff1f6fb4);
    EXPECT_EQ(overlaid.pixel(100, 45), 0xffb35a00);  // over the first channel
    EXPECT_EQ(overlaid.pixel(100, 85), 0xff1f6fb4);
    EXPECT_EQ(overlaid.pixel(100, 2), PAPER);
}

TEST_F(WaveformFrameProgram, TheShapesOfColouredLanesAreThoseOfTheEngine) {
    Write(2, 6400, [](long long frame, int channel) { return (frame * (7 + channel)) % 30011; });
    const struct {
        const char* style;
        const char* size;
        int tolerance;
    } pictures[] = {
        {"lanes", "150x101", 0},
        {"overlaid", "150x101", 0},
        {"lanes", "401x60", 2},  // the colours of a stretched picture are rounded differently
    };
    for (const auto& [style, size, tolerance] : pictures) {
        const auto withColors = [&, style = style, size = size](const char* colors) {
            return Draw(
                {"--size", size, "--style", style, "--background", "FFFFFF", "--color", colors});
        };
        const QImage two = withColors("102030,102030");
        const QImage one = withColors("102030");
        ASSERT_EQ(two.size(), one.size());
        EXPECT_LE(LargestDifference(two, one), tolerance) << style << size;
    }
}

TEST_F(WaveformFrameProgram, WithoutABackgroundALightColourIsOnBlack) {
    Write(1, 3200, [](long long, int) { return 0; });

    EXPECT_EQ(Draw({"--size", "50x20", "--color", "F0F080"}).pixel(9, 2), 0xff000000);
    EXPECT_EQ(Draw({"--size", "50x20", "--color", "101010"}).pixel(9, 2), PAPER);
}

// ---- frames

TEST_F(WaveformFrameProgram, ClippedStretchesAreMarkedAtTheTopOfTheLane) {
    Write(2, 6400, [](long long frame, int channel) {
        if (channel == 0) return frame < 32 ? -32768 : 0;
        return frame >= 3200 && frame < 3264 ? 32767 : 0;
    });

    const QImage picture = Draw({"--size", "200x100", "--style", "lanes", "--clips"});

    EXPECT_EQ(picture.pixel(0, 0), CLIP);
    EXPECT_EQ(picture.pixel(1, 3), CLIP);
    EXPECT_EQ(picture.pixel(2, 0), PAPER);
    EXPECT_EQ(picture.pixel(100, 0), PAPER);
    EXPECT_EQ(picture.pixel(99, 50), PAPER);
    EXPECT_EQ(picture.pixel(100, 50), CLIP);
    EXPECT_EQ(picture.pixel(101, 53), CLIP);
    EXPECT_EQ(picture.pixel(102, 50), PAPER);
    EXPECT_EQ(Run({"--clips", "--json"}).Json().at("clips"), 2);
    EXPECT_EQ(Run({"--json"}).Json().count("clips"), 0u);
}

TEST_F(WaveformFrameProgram, TheScaleOfAmplitudesIsAtTheRowsOfTheWaveform) {
    // A quarter of full scale is -12.04 dB.
    Write(1, 6400, [](long long frame, int) { return frame % 2 == 0 ? 8192 : -8192; });

    const QImage picture = Draw({"--size", "300x200", "--style", "overlaid", "--axis", "db",
                                 "--color", "102030", "--background", "FFFFFF"});

    int left = 0;  // of the waveform, after the line of the scale
    while (picture.pixel(left, 0) != INK) ++left;
    ++left;
    int top = 0;
    while (picture.pixel(left + 50, top) != INK) ++top;
    EXPECT_NEAR(top, 100 - 0.25 * 90, 1.0);
    // The row of -12 dB has a mark of three pixels.
    const double minus12 = 100 - 0.251189 * 90;
    EXPECT_EQ(picture.pixel(left - 4, static_cast<int>(minus12)), INK);
    EXPECT_EQ(picture.pixel(left - 2, static_cast<int>(minus12)), INK);
    EXPECT_EQ(picture.pixel(left - 2, static_cast<int>(minus12) + 3), PAPER);
    EXPECT_EQ(picture.pixel(left - 2, 10), INK);   // 0 dB
    EXPECT_EQ(picture.pixel(left - 2, 100), INK);  // silence
}

TEST_F(WaveformFrameProgram, AnSvgHasItsLabelsAsTextAndItsMarksAsRectangles) {
    Write(2, 48000, [](long long frame, int) { return frame < 480 ? 32767 : 0; });

    ASSERT_EQ(Run({"--style", "lanes", "--timecode", "--axis", "linear", "--names", "--clips"},
                  "@out.svg")
                  .exitCode,
              0);

    const std::string svg = ReadFile(shop_.Work("out.svg"));
    for (const char* text : {">00:00:00:00</text>", ">-0.5</text>", ">L</text>", ">R</text>",
                             "class=\"clip\"", "class=\"axis\"", "class=\"ruler\""}) {
        EXPECT_NE(svg.find(text), std::string::npos) << text;
    }
}

// ---- single samples

TEST_F(WaveformFrameProgram, SingleSamplesAreDrawnWhereAPixelIsShorterThanABlock) {
    // Full scale, silence and negative full scale alternately; the rest is silent.
    Write(1, 6400, [](long long frame, int) {
        constexpr int VALUES[] = {32767, 0, -32767, 0};
        return frame < 12 ? VALUES[frame % 4] : 0;
    });

    const QImage picture = Draw({"--size", "120x100", "--style", "lanes", "--samples", "--range",
                                 "0:12smp", "--color", "102030", "--background", "FFFFFF"});

    // Samples are 10 pixels apart; full scale is on row 5, silence on 50, its negative on 95.
    constexpr int ROWS[] = {5, 50, 95, 50};
    for (int sample = 0; sample < 12; ++sample) {
        const int row = ROWS[sample % 4];
        for (const int y : {row - 1, row, row + 1}) {
            for (const int x : {10 * sample, 10 * sample + 1}) {
                EXPECT_EQ(picture.pixel(x, y), INK) << sample;
            }
        }
        EXPECT_EQ(picture.pixel(10 * sample, (row + 30) % 100), PAPER) << sample;
    }
    // Between the samples is a line.
    EXPECT_EQ(picture.pixel(5, 27), INK);
}

TEST_F(WaveformFrameProgram, SamplesOfEveryFormAreDrawnAtTheirAmplitude) {
    const struct {
        int tag;
        int bits;
        std::string half;
    } forms[] = {{1, 8, Little(191, 1)},         {1, 16, Little(16384, 2)},
                 {1, 24, Little(0x400000, 3)},   {1, 32, Little(0x40000000, 4)},
                 {3, 32, Little(0x3f000000, 4)}, {3, 64, Little(0x3fe0000000000000, 8)}};
    for (const auto& [tag, bits, half] : forms) {
        std::string data;
        for (int i = 0; i < 640; ++i) data += half;
        WriteFile(shop_.Work("in.wav"),
                  Riff(Chunk("fmt ", PcmFormat(tag, 1, 48000, bits)) + Chunk("data", data)));

        const QImage picture = Draw({"--size", "100x100", "--style", "lanes", "--samples",
                                     "--color", "102030", "--background", "FFFFFF"});

        // Half of full scale is 22.5 rows above row 50; 191 of 8 bits is 0.498.
        EXPECT_EQ(picture.pixel(40, 27), INK) << bits;
        EXPECT_EQ(picture.pixel(40, 25), PAPER) << bits;
        EXPECT_EQ(picture.pixel(40, 29), PAPER) << bits;
    }
}

TEST_F(WaveformFrameProgram, SamplesChangeNothingWhereAPixelIsABlockOrMore) {
    Write(1, 6400, [](long long frame, int) { return (frame * 7919) % 30011; });

    EXPECT_EQ(Draw({"--size", "200x40", "--style", "lanes", "--samples"}),
              Draw({"--size", "200x40", "--style", "lanes"}));
    EXPECT_FALSE(Draw({"--size", "201x40", "--style", "lanes", "--samples"}) ==
                 Draw({"--size", "201x40", "--style", "lanes"}));
}

// ---- fonts

TEST_F(WaveformFrameProgram, WithoutAFontThePictureHasNoLabelsAndOneNote) {
    Write(1, 6400, [](long long, int) { return 0; });
    const QImage labelled = Draw({"--size", "200x70", "--ruler"});
    setenv("XDG_DATA_HOME", shop_.Path("none").c_str(), 1);
    setenv("XDG_DATA_DIRS", shop_.Path("none").c_str(), 1);

    const QImage bare = Draw({"--size", "200x70", "--ruler"});
    const nlohmann::json report = Run({"--ruler", "--json"}).Json();
    const std::string text = Run({"--ruler"}).out;
    const std::string svg = Run({"--ruler"}, "@out.svg").out;

    unsetenv("XDG_DATA_HOME");
    unsetenv("XDG_DATA_DIRS");
    ASSERT_EQ(bare.size(), labelled.size());
    EXPECT_EQ(bare.copy(0, 0, 200, 51), labelled.copy(0, 0, 200, 51));
    EXPECT_NE(bare.pixel(0, 55), PAPER);  // the mark of 0:00
    for (int y = 57; y < 70; ++y) {
        for (int x = 0; x < 200; ++x) EXPECT_EQ(bare.pixel(x, y), PAPER);
    }
    EXPECT_NE(labelled.copy(0, 57, 200, 13), bare.copy(0, 57, 200, 13));
    EXPECT_NE(report.at("note").get<std::string>().find("fonts-dejavu-core"), std::string::npos);
    EXPECT_NE(text.find("\nnote: the picture has no labels"), std::string::npos);
    EXPECT_EQ(svg.find("note"), std::string::npos);
}

TEST_F(WaveformFrameProgram, AFileThatIsNotAFontExits1AndIsNamed) {
    Write(1, 640, [](long long, int) { return 0; });

    const ProgramResult result = Run({"--ruler", "--font", "@in.wav"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_NE(result.err.find("in.wav"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(shop_.Work("out.png")));
}

TEST_F(WaveformFrameProgram, LabelsThatDoNotFitAreWrongUsage) {
    Write(2, 640, [](long long, int) { return 0; });
    for (const auto& line :
         std::vector<std::vector<std::string>>{{"--size", "10x100", "--axis", "db"},
                                               {"--size", "200x20", "--names", "--style", "lanes"},
                                               {"--size", "30000x2000", "--style", "overlaid"}}) {
        const ProgramResult result = Run(line);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(line);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    }
}

TEST_F(WaveformFrameProgram, ThePictureNeverReplacesItsFont) {
    Write(1, 4800, [](long long, int) { return 1000; });
    WriteFile(shop_.Work("font.ttf"), "font");
    std::filesystem::create_symlink("font.ttf", shop_.Work("out.png"));

    const ProgramResult result = Run({"--ruler", "--font", "@font.ttf", "--overwrite"});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_NE(result.err.find("the font of the labels"), std::string::npos) << result.err;
    EXPECT_EQ(ReadFile(shop_.Work("font.ttf")), "font");
}

}  // namespace
}  // namespace sonrel_tests
