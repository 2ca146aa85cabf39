// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <QByteArray>
#include <QImage>
#include <chrono>
#include <csignal>
#include <thread>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

constexpr QRgb WHITE = 0xffffffff;
constexpr QRgb BLACK = 0xff000000;

/// A mono file of 16-bit samples of one value.
std::string LevelFile(long long frames, int value, int rate = 48000) {
    std::string samples;
    for (long long i = 0; i < frames; ++i) {
        samples += Little(static_cast<std::uint16_t>(value), 2);
    }
    return Riff(Chunk("fmt ", PcmFormat(1, 1, rate, 16)) + Chunk("data", samples));
}

/// A file with full scale in its first half and silence in its second.
std::string HalfFile(long long frames) {
    std::string samples;
    for (long long i = 0; i < frames; ++i) samples += Little(i < frames / 2 ? 32767 : 0, 2);
    return Riff(Chunk("fmt ", PcmFormat(1, 1, 48000, 16)) + Chunk("data", samples));
}

class WaveformProgram : public testing::Test {
protected:
    void SetUp() override { WriteFile(shop_.Work("half.wav"), HalfFile(32 * 200)); }

    ProgramResult Draw(std::vector<std::string> more, const std::string& output = "@out.png") {
        std::vector<std::string> line{"waveform", "@half.wav", "-o", output};
        line.insert(line.end(), more.begin(), more.end());
        return shop_.Run(line);
    }

    QImage Picture(const std::string& name = "out.png") {
        QImage image;
        const std::string bytes = ReadFile(shop_.Work(name));
        EXPECT_TRUE(image.loadFromData(reinterpret_cast<const uchar*>(bytes.data()),
                                       static_cast<int>(bytes.size()), "PNG"));
        return image;
    }

    /// Silence that is long enough to interrupt the making of its peak file.
    void WriteFileOfThreeHours(const std::string& name) {
        constexpr std::uint64_t BYTES = 3ULL * 3600 * 48000 * 4;
        WriteFile(shop_.Work(name), "RIFF" + Little(36 + BYTES, 4) + "WAVE" +
                                        Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) + "data" +
                                        Little(BYTES, 4));
        std::filesystem::resize_file(shop_.Work(name), 44 + BYTES);
    }

    /// Waits until a program with --progress json makes a peak file.
    static void WaitForPeaks(const RunningProgram& program) {
        while (program.ErrorSoFar().find("\"peaks\"") == std::string::npos) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    Workshop shop_;
};

TEST_F(WaveformProgram, WritesAPictureOfTheUsualSizeThatIsVisibleOnAnyBackground) {
    const nlohmann::json report = Draw({"--json"}).Json();

    EXPECT_EQ(report.at("output"), shop_.Work("out.png").string());
    EXPECT_EQ(report.at("width"), 1800);
    EXPECT_EQ(report.at("height"), 280);
    const QImage picture = Picture();
    EXPECT_EQ(picture.width(), 1800);
    EXPECT_EQ(picture.height(), 280);
    EXPECT_EQ(picture.pixel(1700, 0), WHITE);        // the silent half
    EXPECT_EQ(picture.pixel(100, 100), 0xff1f6fb4);  // the loud half
}

TEST_F(WaveformProgram, EveryPixelOfAnUnstretchedPictureEqualsThePixelOfTheEngine) {
    for (const char* format : {"rgb888", "argb32"}) {
        ASSERT_EQ(Draw({"--size", "200x50", "--color", "000000", "--background", "FFFFFF",
                        "--format", format})
                      .exitCode,
                  0);

        const QImage picture = Picture();
        ASSERT_EQ(picture.size(), QSize(200, 50));
        for (int y = 0; y < 50; ++y) {
            for (int x = 0; x < 200; ++x) {
                // Column 99 leads down to the silence after it.
                if (x == 99 || x == 100) continue;
                const bool loud = x < 99 || y == 49;
                ASSERT_EQ(picture.pixel(x, y), loud ? BLACK : WHITE) << x << ", " << y;
            }
        }
    }
}

TEST_F(WaveformProgram, AStretchedPictureHasItsColoursInBothFormats) {
    for (const char* format : {"rgb888", "argb32"}) {
        ASSERT_EQ(Draw({"--size", "801x33", "--color", "C86432", "--background", "0A141E",
                        "--format", format})
                      .exitCode,
                  0);

        const QImage picture = Picture();
        ASSERT_EQ(picture.size(), QSize(801, 33));
        EXPECT_EQ(picture.pixel(10, 5), 0xffc86432) << format;
        EXPECT_EQ(picture.pixel(790, 5), 0xff0a141e) << format;
    }
}

TEST_F(WaveformProgram, AStretchedPictureKeepsItsTransparency) {
    ASSERT_EQ(Draw({"--size", "801x33", "--background", "FF000080"}).exitCode, 0);

    EXPECT_EQ(Picture().pixel(790, 5), 0x80ff0000u);
}

TEST_F(WaveformProgram, AColourMayStartWithANumberSign) {
    ASSERT_EQ(Draw({"--size", "200x50", "--color", "#ff0000"}).exitCode, 0);

    EXPECT_EQ(Picture().pixel(20, 40), 0xffff0000u);
}

TEST_F(WaveformProgram, RGBPicturesHaveNoAlpha) {
    ASSERT_EQ(Draw({"--format", "rgb888"}).exitCode, 0);
    EXPECT_FALSE(Picture().hasAlphaChannel());

    ASSERT_EQ(Draw({"--format", "argb32"}).exitCode, 0);
    EXPECT_TRUE(Picture().hasAlphaChannel());
}

TEST_F(WaveformProgram, ARangeShowsOnlyThatPart) {
    ASSERT_EQ(Draw({"--size", "50x20", "--color", "000000", "--range", "3200smp:4800smp"}).exitCode,
              0);
    EXPECT_EQ(Picture().pixel(20, 10), WHITE);

    ASSERT_EQ(Draw({"--size", "50x20", "--color", "000000", "--range", "0:1600smp"}).exitCode, 0);
    EXPECT_EQ(Picture().pixel(20, 10), BLACK);
}

TEST_F(WaveformProgram, TheReportContainsTheRange) {
    const nlohmann::json report = Draw({"--range", "0.05:9", "--json"}).Json();

    EXPECT_EQ(report.at("range"), (nlohmann::json{2400, 6400}));
    EXPECT_EQ(report.at("rate"), 48000);
    EXPECT_EQ(report.at("channels"), 1);
}

TEST_F(WaveformProgram, StylesAndScalesDiffer) {
    std::vector<std::string> pictures;
    for (const char* style : {"lanes", "overlaid", "rms"}) {
        for (const char* scale : {"linear", "log"}) {
            WriteFile(shop_.Work("stereo.wav"), ConformedFileBytes(32000));
            ASSERT_EQ(shop_
                          .Run({"waveform", "@stereo.wav", "-o", "@out.png", "--style", style,
                                "--scale", scale})
                          .exitCode,
                      0);
            pictures.push_back(ReadFile(shop_.Work("out.png")));
        }
    }
    std::sort(pictures.begin(), pictures.end());
    EXPECT_EQ(std::unique(pictures.begin(), pictures.end()), pictures.end());
}

TEST_F(WaveformProgram, TheSameCommandWritesTheSameBytes) {
    ASSERT_EQ(Draw({"--ruler"}).exitCode, 0);
    const std::string first = ReadFile(shop_.Work("out.png"));

    ASSERT_EQ(Draw({"--ruler"}).exitCode, 0);

    EXPECT_EQ(ReadFile(shop_.Work("out.png")), first);
}

TEST_F(WaveformProgram, ThePeakFileIsMadeOnceForAllPictures) {
    ASSERT_EQ(Draw({}).exitCode, 0);
    const std::vector<std::string> names = NamesIn(shop_.Path("cache"));
    ASSERT_EQ(names.size(), 1u);

    ASSERT_EQ(Draw({"--style", "lanes", "--range", "0:0.05"}).exitCode, 0);

    EXPECT_EQ(NamesIn(shop_.Path("cache")), names);
}

TEST_F(WaveformProgram, AChangedMediaFileIsDrawnAgain) {
    ASSERT_EQ(Draw({"--size", "200x20", "--color", "000000"}).exitCode, 0);
    ASSERT_EQ(Picture().pixel(150, 5), WHITE);

    WriteFile(shop_.Work("half.wav"), LevelFile(32 * 201, 32767));
    ASSERT_EQ(Draw({"--size", "200x20", "--color", "000000"}).exitCode, 0);

    EXPECT_EQ(Picture().pixel(150, 5), BLACK);
}

TEST_F(WaveformProgram, WithoutACacheNoFileRemains) {
    const ProgramResult result =
        shop_.RunBare({"--no-cache-db", "waveform", "@half.wav", "-o", "@out.png"});

    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(Picture().width(), 1800);
    EXPECT_FALSE(std::filesystem::exists(shop_.Path("cache")));
    EXPECT_FALSE(std::filesystem::exists(shop_.Path("media.db")));
}

// ---- rulers

TEST_F(WaveformProgram, ARulerUsesTheLowest20RowsOfThePicture) {
    ASSERT_EQ(Draw({"--size", "200x70", "--color", "000000", "--background", "FFFFFF", "--ruler"})
                  .exitCode,
              0);
    const QImage ruled = Picture();
    ASSERT_EQ(Draw({"--size", "200x50", "--color", "000000", "--background", "FFFFFF"}).exitCode,
              0);
    const QImage plain = Picture();

    ASSERT_EQ(ruled.size(), QSize(200, 70));
    EXPECT_EQ(ruled.copy(0, 0, 200, 50), plain);
    for (int x = 0; x < 200; ++x) EXPECT_EQ(ruled.pixel(x, 50), BLACK);  // its line
    EXPECT_EQ(ruled.pixel(0, 55), BLACK);                                // the mark of 0:00
    EXPECT_EQ(ruled.pixel(1, 55), WHITE);
    // The first digit is a zero, 7 pixels wide from column 3: it has ink on both sides and none in
    // its middle.
    EXPECT_NE(ruled.pixel(4, 63), WHITE);
    EXPECT_EQ(ruled.pixel(6, 63), WHITE);
    EXPECT_NE(ruled.pixel(8, 63), WHITE);
    EXPECT_EQ(ruled.pixel(100, 69), WHITE);
}

TEST_F(WaveformProgram, ARulerNeedsARowAboveIt) {
    EXPECT_EQ(Draw({"--size", "200x21", "--ruler"}).exitCode, 0);
    EXPECT_EQ(Draw({"--size", "200x20", "--ruler"}).exitCode, 2);
}

TEST_F(WaveformProgram, AnSvgContainsThePictureAndARulerWithText) {
    ASSERT_EQ(Draw({"--size", "200x70", "--ruler"}, "@out.svg").exitCode, 0);
    ASSERT_EQ(Draw({"--size", "200x50"}).exitCode, 0);

    const std::string svg = ReadFile(shop_.Work("out.svg"));
    EXPECT_TRUE(svg.starts_with("<svg "));
    EXPECT_TRUE(svg.ends_with("</svg>\n"));
    EXPECT_NE(svg.find("width=\"200\" height=\"70\""), std::string::npos);
    EXPECT_NE(svg.find("<title>half.wav</title>"), std::string::npos);
    EXPECT_NE(svg.find(">0:00.00</text>"), std::string::npos);
    const std::string mark = "base64,";
    const std::size_t begin = svg.find(mark) + mark.size();
    const std::string coded = svg.substr(begin, svg.find('"', begin) - begin);
    EXPECT_EQ(QByteArray::fromBase64(QByteArray::fromStdString(coded)).toStdString(),
              ReadFile(shop_.Work("out.png")));
}

TEST_F(WaveformProgram, AnSvgWithoutARulerHasNoText) {
    ASSERT_EQ(Draw({"--size", "200x50"}, "@out.SVG").exitCode, 0);

    const std::string svg = ReadFile(shop_.Work("out.SVG"));
    EXPECT_NE(svg.find("width=\"200\" height=\"50\""), std::string::npos);
    EXPECT_EQ(svg.find("<text"), std::string::npos);
}

TEST_F(WaveformProgram, MarkupInAFileNameIsEscapedInAnSvg) {
    WriteFile(shop_.Work("<a>&b.wav"), HalfFile(3200));

    ASSERT_EQ(shop_.Run({"waveform", "@<a>&b.wav", "-o", "@out.svg"}).exitCode, 0);

    EXPECT_NE(ReadFile(shop_.Work("out.svg")).find("<title>&lt;a&gt;&amp;b.wav</title>"),
              std::string::npos);
}

// ---- failures

TEST_F(WaveformProgram, WrongUsageExits2WithOneLineAndWritesNothing) {
    const std::vector<std::vector<std::string>> lines = {
        {"--size", "0x10"},
        {"--size", "huge"},
        {"--size", "40000x40000"},
        {"--style", "bars"},
        {"--scale", "cubic"},
        {"--format", "rgb565"},
        {"--color", "red"},
        {"--background", "123"},
        {"--range", "5"},
        {"--color", "#ff000"},
        {"--range", "9999smp:1smp"},
        {"--range", "7:8"},
        {"--axis", "percent"},
        {"--names"},
        {"--samples"},
    };
    for (const auto& line : lines) {
        const ProgramResult result = Draw(line);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(line);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    }
    EXPECT_FALSE(std::filesystem::exists(shop_.Work("out.png")));
}

TEST_F(WaveformProgram, ATimelineIsWrongUsage) {
    WriteFile(shop_.Work("edit.otio"), Timeline({Track({Clip("half.wav", 0, 2)})}).dump());

    const ProgramResult result = shop_.Run({"waveform", "@edit.otio", "-o", "@out.png"});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
}

TEST_F(WaveformProgram, TheMediaFileIsNeverTheOutput) {
    const std::string before = ReadFile(shop_.Work("half.wav"));

    EXPECT_EQ(Draw({}, "@half.wav").exitCode, 2);

    EXPECT_EQ(ReadFile(shop_.Work("half.wav")), before);
}

TEST_F(WaveformProgram, AMediaFileThatCannotBeDrawnExits1AndIsNamed) {
    WriteFile(shop_.Work("text.wav"), "no sound at all");
    WriteFile(shop_.Work("short.wav"), LevelFile(0, 0));
    for (const char* name : {"gone.wav", "text.wav", "short.wav"}) {
        const ProgramResult result =
            shop_.Run({"waveform", std::string("@") + name, "-o", "@out.png", "--json"});
        EXPECT_EQ(result.exitCode, 1) << name;
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_NE(result.err.find(name), std::string::npos);
        EXPECT_TRUE(result.Json().at("error").is_string());
    }
    EXPECT_FALSE(std::filesystem::exists(shop_.Work("out.png")));
}

TEST_F(WaveformProgram, APeakFileOfAnyOtherLengthIsMadeAgain) {
    ASSERT_EQ(Draw({}).exitCode, 0);
    const std::string first = ReadFile(shop_.Work("out.png"));
    for (const std::uintmax_t size : {50, 20, 19, 0}) {
        const std::string peaks = NamesIn(shop_.Path("cache")).front();
        std::filesystem::resize_file(shop_.Path("cache/" + peaks), size);

        const ProgramResult result = Draw({});

        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_TRUE(ReadFile(shop_.Work("out.png")) == first) << size;
    }
}

TEST_F(WaveformProgram, AnInterruptWithoutACacheNamesThePicture) {
    WriteFileOfThreeHours("long.wav");
    RunningProgram program = shop_.StartBare(
        {"--no-cache-db", "--progress", "json", "waveform", "@long.wav", "-o", "@out.png"});
    WaitForPeaks(program);

    kill(program.Id(), SIGINT);
    const ProgramResult result = program.Wait();

    EXPECT_EQ(result.exitCode, 130);
    EXPECT_EQ(
        result.err.substr(result.err.find("sonrel: ")),
        "sonrel: interrupted: nothing was written to '" + shop_.Work("out.png").string() + "'\n");
}

TEST_F(WaveformProgram, AnInterruptExits130AndKeepsTheOldPicture) {
    WriteFileOfThreeHours("long.wav");
    WriteFile(shop_.Work("out.png"), "old");
    const std::vector<std::string> before = NamesIn(shop_.Path("work"));
    RunningProgram program =
        shop_.Start({"--progress", "json", "waveform", "@long.wav", "-o", "@out.png"});
    WaitForPeaks(program);

    kill(program.Id(), SIGINT);
    const ProgramResult result = program.Wait();

    EXPECT_EQ(result.exitCode, 130);
    EXPECT_NE(result.err.find("sonrel: interrupted"), std::string::npos);
    EXPECT_EQ(ReadFile(shop_.Work("out.png")), "old");
    EXPECT_EQ(NamesIn(shop_.Path("work")), before);
    EXPECT_TRUE(NamesIn(shop_.Path("cache")).empty());
}

TEST_F(WaveformProgram, AMediaFileOfUnknownLengthIsDrawnToItsEnd) {
    // A data chunk that declares more data than the file contains, as left by a recorder that lost
    // its power.
    std::string bytes = HalfFile(6400);
    bytes.replace(40, 4, Little(0xFFFFFFFF, 4));
    WriteFile(shop_.Work("cut.wav"), bytes);

    const nlohmann::json report =
        shop_.Run({"waveform", "@cut.wav", "-o", "@out.png", "--json"}).Json();

    EXPECT_EQ(report.at("range"), (nlohmann::json{0, 6400}));
}

TEST_F(WaveformProgram, AMissingFolderExits1) {
    const ProgramResult result = Draw({}, "@none/out.png");

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
}

}  // namespace
}  // namespace sonrel_tests
