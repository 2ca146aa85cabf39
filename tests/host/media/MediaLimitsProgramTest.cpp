// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/AacPackets.h"
#include "tests/support/MatroskaBytes.h"
#include "tests/support/ResourceLimit.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

class MediaLimitsProgram : public testing::Test {
protected:
    /// A WAVE file of zeros that use no space on the disk.
    void WriteZeros(const std::string& name, const std::string& format, std::uint32_t bytes) const {
        WriteFile(shop_.Work(name), "RIFF" + Little(36 + bytes, 4) + "WAVE" +
                                        Chunk("fmt ", format) + "data" + Little(bytes, 4));
        std::filesystem::resize_file(shop_.Work(name), 28 + format.size() + bytes);
    }

    /// 3.9 GB of IMA ADPCM, whose packets are counted one by one.
    void WriteSlowToOpen() const {
        WriteZeros("slow.wav",
                   Little(0x11, 2) + Little(1, 2) + Little(48000, 4) + Little(24000, 4) +
                       Little(256, 2) + Little(4, 2) + Little(2, 2) + Little(505, 2),
                   3900000000);
    }

    static bool HasOpen(pid_t program, const std::filesystem::path& file) {
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(
                 "/proc/" + std::to_string(program) + "/fd", error)) {
            if (std::filesystem::read_symlink(entry.path(), error) == file) return true;
        }
        return false;
    }

    void ExpectStopWhileOpening(const std::vector<std::string>& arguments) const {
        WriteSlowToOpen();
        RunningProgram run = shop_.Start(arguments);
        while (!HasOpen(run.Id(), std::filesystem::canonical(shop_.Work("slow.wav")))) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }

        kill(run.Id(), SIGINT);
        const ProgramResult result = run.Wait();

        EXPECT_EQ(result.exitCode, 130) << arguments.front();
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_TRUE(result.err.starts_with("sonrel: interrupted: ")) << result.err;
    }

    Workshop shop_;
};

TEST_F(MediaLimitsProgram, EveryCommandStopsWhileItOpensMedia) {
    WriteFile(shop_.Work("a.wav"), ConformedFileBytes(4800));
    WriteFile(shop_.Work("edit.otio"), Timeline({Track({Clip("slow.wav", 0, 2)})}).dump());

    ExpectStopWhileOpening({"info", "@slow.wav"});
    ExpectStopWhileOpening({"info", "@edit.otio"});
    ExpectStopWhileOpening({"conform", "@slow.wav"});
    ExpectStopWhileOpening({"mix", "@edit.otio", "-o", "@out.wav"});
    ExpectStopWhileOpening({"peaks", "@slow.wav"});
    ExpectStopWhileOpening({"waveform", "@slow.wav", "-o", "@out.png"});
    ExpectStopWhileOpening({"align", "@a.wav", "@slow.wav"});
    ExpectStopWhileOpening({"play", "@slow.wav", "--output", "@out.wav"});
}

TEST_F(MediaLimitsProgram, ZerosAreRefusedAtOnceInFilesOfAnyLength) {
    WriteFile(shop_.Work("zeros.mp3"), "");
    std::filesystem::resize_file(shop_.Work("zeros.mp3"), 8LL << 30);

    for (const char* command : {"info", "conform", "peaks"}) {
        const ProgramResult result = shop_.Run({command, "@zeros.mp3"});
        EXPECT_EQ(result.exitCode, 1) << command;
        EXPECT_NE(result.err.find("zeros.mp3"), std::string::npos) << result.err;
        EXPECT_NE(result.err.find("more bytes in a row hold no sound"), std::string::npos)
            << result.err;
    }
}

TEST_F(MediaLimitsProgram, TooMuchSilenceIsRefusedWithBothNumbersByEveryCommand) {
    WriteFile(shop_.Work("late.mkv"),
              MatroskaFile(SoundTrack(1, "A_PCM/INT/LIT", 1) + PictureTrack(2),
                           {{2, 0, std::string(16, '\0')}, {1, 1000000, std::string(200, '\1')}},
                           100000));
    WriteFile(shop_.Work("edit.otio"), Timeline({Track({Clip("late.mkv", 0, 2)})}).dump());

    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"info", "@late.mkv"},
                                                      {"conform", "@late.mkv"},
                                                      {"peaks", "@late.mkv"},
                                                      {"mix", "@edit.otio", "-o", "@out.wav"}}) {
        const ProgramResult result = shop_.Run(arguments);
        EXPECT_EQ(result.exitCode, 1) << arguments.front();
        EXPECT_NE(result.err.find("192.0 MB of silence that is not in it, and at most 1.8 MB"),
                  std::string::npos)
            << result.err;
    }
}

TEST_F(MediaLimitsProgram, TooMuchSilenceForDamagedPacketsIsRefusedByEveryCommandThatReadsThem) {
    // 44 seconds, so that a peak file is made by four tasks.
    WriteFile(shop_.Work("bad.mka"),
              AacFile({{40, GOOD_PACKET}, {2000, BAD_PACKET}, {40, GOOD_PACKET}}));

    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"peaks", "@bad.mka"},
          {"peaks", "@bad.mka", "-o", "@bad.xwpk"},
          {"peaks", "@bad.mka", "-o", "@bad.xwpk", "--mode", "single"},
          {"waveform", "@bad.mka", "-o", "@bad.png"},
          {"conform", "@bad.mka"}}) {
        const ProgramResult result = shop_.Run(arguments);
        EXPECT_EQ(result.exitCode, 1) << arguments.front();
        EXPECT_NE(result.err.find("MB of silence that is not in it, and at most 1."),
                  std::string::npos)
            << result.err;
    }
    EXPECT_EQ(NamesIn(shop_.Path("work")), std::vector<std::string>{"bad.mka"});
}

TEST_F(MediaLimitsProgram, PeaksOfTooManyChannelsAreRefusedWithTheNumberOfChannels) {
    WriteFile(shop_.Work("wide.mka"),
              MatroskaFile(SoundTrack(1, "A_AC3", 1078165762), {{1, 0, std::string(100, '\0')}}));

    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"peaks", "@wide.mka"}, {"peaks", "@wide.mka", "-o", "@p"}}) {
        const ProgramResult result = shop_.Run(arguments);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_NE(result.err.find("its sound has 1078165762 channels"), std::string::npos)
            << result.err;
    }
}

TEST_F(MediaLimitsProgram, AConformedFileThatDoesNotFitOnTheDiskIsNotStarted) {
    // 4 GB at 64 Hz make 12 TB at 48000 Hz.
    WriteZeros("slow.wav", PcmFormat(1, 1, 64, 8), 4000000000);

    const ProgramResult result = shop_.Run({"conform", "@slow.wav"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.err.find("12000000 MB are needed"), std::string::npos) << result.err;
    EXPECT_TRUE(NamesIn(shop_.Path("cache")).empty());
}

TEST_F(MediaLimitsProgram, SixtyFourDescriptorsAreEnoughForAnyNumberOfMediaFiles) {
    std::vector<Json> tracks;
    for (int i = 0; i < 70; ++i) {
        const std::string name = std::to_string(i) + ".wav";
        WriteFile(shop_.Work(name), ConformedFileBytes(9600 + i));
        tracks.push_back(Track({Clip(name, 0, 4)}));
    }
    WriteFile(shop_.Work("edit.otio"), Timeline(tracks).dump());
    ASSERT_EQ(shop_.Run({"mix", "@edit.otio", "--seed", "1", "-o", "@all.wav"}).exitCode, 0);

    const ResourceLimit limit(RLIMIT_NOFILE, 64);
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"mix", "@edit.otio", "--seed", "1", "-o", "@few.wav"},
          {"info", "@edit.otio"},
          {"conform", "@edit.otio", "--force"},
          {"peaks", "@edit.otio"},
          {"cache", "check"}}) {
        const ProgramResult result = shop_.Run(arguments);
        EXPECT_EQ(result.exitCode, 0) << arguments.front() << ": " << result.err;
    }
    EXPECT_EQ(ReadFile(shop_.Work("few.wav")), ReadFile(shop_.Work("all.wav")));
}

}  // namespace
}  // namespace sonrel_tests
