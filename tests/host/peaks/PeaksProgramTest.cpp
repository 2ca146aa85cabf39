// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A mono recording. All samples of a block of 32 frames have the same value.
std::string Steps(const std::vector<int>& values, int rate = 8000) {
    std::string samples;
    for (const int value : values) {
        for (int i = 0; i < 32; ++i) samples += Little(static_cast<std::uint16_t>(value), 2);
    }
    return Riff(Chunk("fmt ", PcmFormat(1, 1, rate, 16)) + Chunk("data", samples));
}

class PeaksProgram : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("a.wav"), Steps({16384, -16384, 32767, 0, -32768}));
    }

    nlohmann::json Peaks(const std::string& input) const {
        return shop_.Run({"peaks", "@" + input, "--json"}).Json().at("files").at(0);
    }
    void ExpectUsageError(const std::vector<std::string>& arguments) const {
        const ProgramResult result = shop_.Run(arguments);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(arguments);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    }

    Workshop shop_;
};

TEST_F(PeaksProgram, ASecondRunFindsTheFileOfTheFirst) {
    const nlohmann::json first = Peaks("a.wav");
    const nlohmann::json second = Peaks("a.wav");

    EXPECT_EQ(first.at("status"), "made");
    EXPECT_EQ(second.at("status"), "found");
    EXPECT_EQ(first.at("path"), second.at("path"));
    EXPECT_EQ(first.at("media"), shop_.Work("a.wav").string());
    EXPECT_EQ(first.at("stream"), 0);
    EXPECT_EQ(first.at("rate"), 8000);
    EXPECT_TRUE(first.at("error").is_null());
}

TEST_F(PeaksProgram, TheFileContainsTheBlocksOfTheRecording) {
    const std::string bytes = ReadFile(Peaks("a.wav").at("path").get<std::string>());

    EXPECT_EQ(bytes,
              "ORLOXWPK" + Little(1, 4) + Little(1, 4) + Little(5, 4) +
                  std::string("\x7F\x00\x3F\x7F\xC1\x00\xFF\x00\x7F\x00\x00\x00\xFF\x81\x00", 15));
}

TEST_F(PeaksProgram, ATouchedMediaFileGetsANewFile) {
    const nlohmann::json first = Peaks("a.wav");
    const auto before = std::filesystem::last_write_time(shop_.Work("a.wav"));
    std::filesystem::last_write_time(shop_.Work("a.wav"), before + std::chrono::seconds(5));

    const nlohmann::json second = Peaks("a.wav");

    EXPECT_EQ(second.at("status"), "made");
    EXPECT_NE(first.at("path"), second.at("path"));
}

TEST_F(PeaksProgram, ARunThatFindsTheFileDoesNotReadTheSound) {
    Peaks("a.wav");
    // Other samples with the same size and time: only reading the sound would detect them.
    const auto time = std::filesystem::last_write_time(shop_.Work("a.wav"));
    WriteFile(shop_.Work("a.wav"), Steps({0, 0, 0, 0, 0}));
    std::filesystem::last_write_time(shop_.Work("a.wav"), time);

    EXPECT_EQ(Peaks("a.wav").at("status"), "found");
}

TEST_F(PeaksProgram, ADeletedFileIsMadeAgain) {
    std::filesystem::remove(Peaks("a.wav").at("path").get<std::string>());
    EXPECT_EQ(Peaks("a.wav").at("status"), "made");
}

TEST_F(PeaksProgram, ForceRecreatesAnExistingFile) {
    const std::string first = Peaks("a.wav").at("path");
    const std::string bytes = ReadFile(first);

    const ProgramResult result = shop_.Run({"peaks", "@a.wav", "--force", "--json"});

    EXPECT_EQ(result.exitCode, 0) << result.err;
    const nlohmann::json file = result.Json().at("files").at(0);
    EXPECT_EQ(file.at("status"), "made");
    EXPECT_NE(file.at("path"), first);
    EXPECT_FALSE(std::filesystem::exists(first));
    EXPECT_EQ(ReadFile(file.at("path").get<std::string>()), bytes);
    EXPECT_EQ(Peaks("a.wav").at("status"), "found");
    EXPECT_EQ(Peaks("a.wav").at("path"), file.at("path"));
}

TEST_F(PeaksProgram, ABadInputDoesNotPreventTheFilesOfTheOthers) {
    WriteFile(shop_.Work("bad.wav"), "no sound at all");

    const ProgramResult result = shop_.Run({"peaks", "@bad.wav", "@gone.wav", "@a.wav", "--json"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    const nlohmann::json files = result.Json().at("files");
    ASSERT_THAT(files, SizeIs(3));
    EXPECT_EQ(files.at(0).at("status"), "failed");
    EXPECT_EQ(files.at(1).at("status"), "failed");
    EXPECT_EQ(files.at(2).at("status"), "made");
}

TEST_F(PeaksProgram, TooManyChannelsAreReportedAndLeaveNoFile) {
    WriteFile(shop_.Work("wide.wav"), Riff(Chunk("fmt ", PcmFormat(1, 17, 8000, 16)) +
                                           Chunk("data", std::string(34 * 100, '\1'))));

    const ProgramResult result = shop_.Run({"peaks", "@wide.wav"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_THAT(NamesIn(shop_.Path("cache")), IsEmpty());
    EXPECT_THAT(ReadLines(shop_.Path("CacheErrorLog.txt")), SizeIs(1));
}

TEST_F(PeaksProgram, AnOutputNeedsNeitherCacheNorDatabase) {
    const ProgramResult result =
        shop_.RunBare({"--no-cache-db", "peaks", "@a.wav", "-o", "@a.xwpk", "--json"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.Json().at("files").at(0).at("status"), "made");
    EXPECT_EQ(result.Json().at("files").at(0).at("path"), shop_.Work("a.xwpk").string());
    EXPECT_EQ(ReadFile(shop_.Work("a.xwpk")),
              ReadFile(Peaks("a.wav").at("path").get<std::string>()));
}

TEST_F(PeaksProgram, EveryModeWritesTheSameBytes) {
    WriteFile(shop_.Work("long.wav"), ConformedFileBytes(250000, 8000));  // above 30 seconds
    for (const char* mode : {"auto", "single", "multi"}) {
        ASSERT_EQ(shop_.Run({"peaks", "@long.wav", "-o", std::string("@") + mode, "--mode", mode})
                      .exitCode,
                  0);
    }
    const std::string single = ReadFile(shop_.Work("single"));
    EXPECT_EQ(single.size(), 20u + 5u * 7813u);
    EXPECT_TRUE(ReadFile(shop_.Work("auto")) == single);
    EXPECT_TRUE(ReadFile(shop_.Work("multi")) == single);
}

TEST_F(PeaksProgram, AnOutputThatFailsKeepsTheOldFile) {
    WriteFile(shop_.Work("bad.wav"), "no sound at all");
    WriteFile(shop_.Work("a.xwpk"), "before");

    const ProgramResult result = shop_.Run({"peaks", "@bad.wav", "-o", "@a.xwpk"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_EQ(ReadFile(shop_.Work("a.xwpk")), "before");
    EXPECT_EQ(shop_.Run({"peaks", "@a.wav", "-o", "@none/a.xwpk"}).exitCode, 1);
}

TEST_F(PeaksProgram, TheExportAsJsonContainsMinimaAndMaxima) {
    const ProgramResult result =
        shop_.Run({"peaks", "@a.wav", "--export", "@a.json", "--zoom", "64", "--json"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.Json().at("pixels"), 3);
    EXPECT_EQ(result.Json().at("samplesPerPixel"), 64);
    const auto data = nlohmann::json::parse(ReadFile(shop_.Work("a.json")));
    EXPECT_EQ(data.at("version"), 2);
    EXPECT_EQ(data.at("channels"), 1);
    EXPECT_EQ(data.at("sample_rate"), 8000);
    EXPECT_EQ(data.at("samples_per_pixel"), 64);
    EXPECT_EQ(data.at("bits"), 8);
    EXPECT_EQ(data.at("length"), 3);
    EXPECT_THAT(data.at("data").get<std::vector<int>>(), ElementsAre(-63, 63, 0, 127, -127, 0));
}

TEST_F(PeaksProgram, TheExportAsBinaryHasTheSameDataAfterSixNumbers) {
    ASSERT_EQ(shop_.Run({"peaks", "@a.wav", "--export", "@a.DAT", "--zoom", "32"}).exitCode, 0);

    EXPECT_EQ(ReadFile(shop_.Work("a.DAT")),
              Little(2, 4) + Little(1, 4) + Little(8000, 4) + Little(32, 4) + Little(5, 4) +
                  Little(1, 4) + std::string("\x00\x3F\xC1\x00\x00\x7F\x00\x00\x81\x00", 10));
}

TEST_F(PeaksProgram, ALongExportIsTheSameInPieces) {
    // More pixels than are read at once, two channels, and a pixel at the boundary of two pieces.
    WriteFile(shop_.Work("long.wav"), ConformedFileBytes(96LL * 70000 + 5));
    ASSERT_EQ(shop_.Run({"peaks", "@long.wav", "-o", "@p", "--export", "@p.dat", "--zoom", "96"})
                  .exitCode,
              0);

    const std::string peaks = ReadFile(shop_.Work("p")).substr(20);
    const std::string data = ReadFile(shop_.Work("p.dat")).substr(24);
    ASSERT_EQ(data.size(), 4u * 70001u);
    std::size_t differences = 0;
    for (std::size_t pixel = 0; pixel < 70001; ++pixel) {
        for (std::size_t value = 0; value < 4; ++value) {
            int limit = 0;
            for (std::size_t block = 3 * pixel; block < 3 * pixel + 3; ++block) {
                if (5 * block >= peaks.size()) continue;
                const int here = static_cast<signed char>(peaks[5 * block + 1 + value]);
                limit = value % 2 == 0 ? std::min(limit, here) : std::max(limit, here);
            }
            if (static_cast<signed char>(data[4 * pixel + value]) != limit) ++differences;
        }
    }
    EXPECT_EQ(differences, 0u);
}

TEST_F(PeaksProgram, AnExportWithoutCacheKeepsNoPeakFile) {
    const ProgramResult result =
        shop_.RunBare({"--no-cache-db", "peaks", "@a.wav", "--export", "@a.json"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(NamesIn(shop_.Path("work")), ElementsAre("a.json", "a.wav"));
}

TEST_F(PeaksProgram, WrongUsageExits2) {
    WriteFile(shop_.Work("b.wav"), Steps({1}));
    ExpectUsageError({"peaks"});
    ExpectUsageError({"peaks", "@a.wav", "@b.wav", "-o", "@x"});
    ExpectUsageError({"peaks", "@a.wav", "@b.wav", "--export", "@x.json"});
    ExpectUsageError({"peaks", "@a.wav", "--export", "@x.txt"});
    ExpectUsageError({"peaks", "@a.wav", "--mode", "fast"});
    for (const char* zoom : {"0", "31", "33", "-32", "1.5", "99999999999"}) {
        ExpectUsageError({"peaks", "@a.wav", "--export", "@x.json", "--zoom", zoom});
    }
    ExpectUsageError({"peaks", "@a.wav", "-o", "@a.wav"});
    ExpectUsageError({"peaks", "@a.wav", "-o", "@x.json", "--export", "@x.json"});
    ExpectUsageError({"peaks", "@a.wav", "-o", "@x.xwpk", "--force"});
    ExpectUsageError({"--no-cache-db", "peaks", "@a.wav", "--export", "@x.json", "--force"});
    const ProgramResult result = shop_.RunBare({"--no-cache-db", "peaks", "@a.wav"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
}

class InterruptedPeaks : public PeaksProgram {
protected:
    /// Interrupts the reading of a recording that takes seconds.
    void ExpectCleanStop(std::vector<std::string> arguments) {
        // 1.6 GB of silence that use no space on the disk.
        const std::uint32_t bytes = 1600000000;
        WriteFile(shop_.Work("long.wav"), "RIFF" + Little(36 + bytes, 4) + "WAVE" +
                                              Chunk("fmt ", PcmFormat(1, 1, 8000, 16)) + "data" +
                                              Little(bytes, 4));
        std::filesystem::resize_file(shop_.Work("long.wav"), 44 + bytes);
        arguments.insert(arguments.begin(), {"peaks", "@long.wav", "--progress", "json"});
        RunningProgram run = shop_.Start(arguments);
        while (run.ErrorSoFar().find("\"done\"") == std::string::npos) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }

        kill(run.Id(), SIGINT);
        const ProgramResult result = run.Wait();

        EXPECT_EQ(result.exitCode, 130) << result.err;
    }
};

TEST_F(InterruptedPeaks, LeaveNoFileInTheCache) {
    ExpectCleanStop({});
    EXPECT_THAT(NamesIn(shop_.Path("cache")), IsEmpty());
}

TEST_F(InterruptedPeaks, LeaveNoFileUnderTheName) {
    ExpectCleanStop({"-o", "@out.xwpk"});
    EXPECT_THAT(NamesIn(shop_.Path("work")), ElementsAre("a.wav", "long.wav"));
}

}  // namespace
}  // namespace sonrel_tests
