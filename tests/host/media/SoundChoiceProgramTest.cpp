// SPDX-License-Identifier: MIT
#include "tests/host/media/SoundRig.h"
#include "tests/support/Noise.h"

namespace sonrel_tests {
namespace {

class SoundChoiceProgram : public SoundRig {};

TEST_F(SoundChoiceProgram, AMixOfAMediaFileTakesTheChosenStreamAndChannels) {
    EXPECT_EQ(MixedMedia("@eight.wav", {"--channels", "3"}), (Pair{300, 300}));
    EXPECT_EQ(MixedMedia("@eight.wav", {"--channels", "mono:8"}), (Pair{800, 800}));
    EXPECT_EQ(MixedMedia("@eight.wav", {"--channels", "7,2"}), (Pair{700, 200}));
    EXPECT_EQ(MixedMedia("@eight.wav", {"--channels", "0,5"}), (Pair{0, 500}));
    EXPECT_EQ(MixedMedia("@streams.mkv", {}), (Pair{11, 11}));
    EXPECT_EQ(MixedMedia("@streams.mkv", {"--stream", "2"}), (Pair{22, 22}));
    EXPECT_EQ(MixedMedia("@streams.mkv", {"--stream", "3"}), (Pair{33, 44}));
    EXPECT_EQ(MixedMedia("@streams.mkv", {"--stream", "3", "--channels", "2"}), (Pair{44, 44}));
    EXPECT_EQ(MixedMedia("@streams.mkv", {"--channels", "2:1,1:1"}), (Pair{22, 11}));
}

TEST_F(SoundChoiceProgram, SoundOfAMediaFileThatIsNotUsedIsANoteUnlessItIsAChoice) {
    const std::vector<std::vector<std::string>> commands{
        {"mix", "@streams.mkv", "-o", "@out.wav", "--overwrite"},
        {"play", "@streams.mkv", "--output", "@out.raw", "--overwrite"},
        {"peaks", "@streams.mkv"},
        {"conform", "@streams.mkv"}};
    for (std::vector<std::string> command : commands) {
        const std::string text = shop_.Run(command).out;
        const std::size_t note = text.find("audio streams 2, 3 are not used");
        EXPECT_NE(note, std::string::npos) << text;
        EXPECT_NE(text.find("choose other", note), std::string::npos) << text;

        command.push_back("--json");
        nlohmann::json report = shop_.Run(command).Json();
        if (report.contains("files")) report = report.at("files").at(0);
        EXPECT_EQ(report.at("note"), "audio streams 2, 3 are not used") << command.front();

        command.insert(command.end(), {"--stream", "2"});
        report = shop_.Run(command).Json();
        if (report.contains("files")) report = report.at("files").at(0);
        EXPECT_FALSE(report.contains("note")) << command.front();
    }
}

TEST_F(SoundChoiceProgram, PlaybackTakesTheChosenChannels) {
    const ProgramResult result =
        shop_.Run({"play", "@eight.wav", "--channels", "4", "--output", "@out.raw"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(ReadFile(shop_.Work("out.raw")).substr(0, 4 * 24000), Constant({400, 400}, 24000));
}

TEST_F(SoundChoiceProgram, ADownmixIsTheMixWithoutAChoice) {
    ASSERT_EQ(Mix("@eight.wav", {}).exitCode, 0);
    const std::string plain = ReadFile(shop_.Work("out.wav"));

    ASSERT_EQ(Mix("@eight.wav", {"--channels", "downmix"}).exitCode, 0);

    EXPECT_EQ(ReadFile(shop_.Work("out.wav")), plain);
}

TEST_F(SoundChoiceProgram, AChoiceHasItsOwnCacheFileAndTheOthersStay) {
    const nlohmann::json whole = Conform({"@eight.wav"});
    const nlohmann::json third = Conform({"@eight.wav", "--channels", "3"});
    const nlohmann::json pair = Conform({"@eight.wav", "--channels", "1,2"});

    EXPECT_EQ(third.at("status"), "made");
    EXPECT_EQ(third.at("stream"), 0);
    EXPECT_EQ(third.at("channels"), "3");
    EXPECT_EQ(pair.at("status"), "made");
    EXPECT_FALSE(whole.contains("channels"));
    for (const auto& [options, file] :
         {std::pair(std::vector<std::string>{"@eight.wav"}, whole),
          std::pair(std::vector<std::string>{"@eight.wav", "--channels", "3"}, third),
          std::pair(std::vector<std::string>{"@eight.wav", "--channels", "1,2"}, pair)}) {
        const nlohmann::json again = Conform(options);
        EXPECT_EQ(again.at("status"), "found");
        EXPECT_EQ(again.at("path"), file.at("path"));
    }
    EXPECT_EQ(OnlyFrame(third.at("path").get<std::string>()), (Pair{300, 300}));
}

TEST_F(SoundChoiceProgram, AllChannelsInTheirOrderHaveTheCacheFileOfTheStream) {
    const nlohmann::json whole = Conform({"@streams.mkv", "--stream", "3"});

    const nlohmann::json pair = Conform({"@streams.mkv", "--stream", "3", "--channels", "1,2"});
    const nlohmann::json mixed =
        Conform({"@streams.mkv", "--stream", "3", "--channels", "downmix"});

    EXPECT_EQ(pair.at("path"), whole.at("path"));
    EXPECT_EQ(mixed.at("path"), whole.at("path"));
}

TEST_F(SoundChoiceProgram, TheCacheListNamesStreamAndChannels) {
    Conform({"@streams.mkv", "--stream", "3", "--channels", "2"});

    const ProgramResult text = shop_.Run({"cache", "ls"});
    const ProgramResult json = shop_.Run({"cache", "ls", "--json"});

    EXPECT_NE(text.out.find("streams.mkv (audio stream 3, channel 2) at 48000 Hz"),
              std::string::npos)
        << text.out;
    EXPECT_NE(json.out.find("\"stream\": 2"), std::string::npos) << json.out;
    EXPECT_NE(json.out.find("\"channels\": \"2\""), std::string::npos) << json.out;
}

TEST_F(SoundChoiceProgram, APeakFileHasOneChannelOrTwo) {
    const auto channelsOf = [&](const std::string& list) {
        const ProgramResult result =
            shop_.Run({"peaks", "@eight.wav", "--channels", list, "-o", "@p.xwpk", "--overwrite"});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        // The channel count follows the magic and the version.
        return static_cast<int>(ReadFile(shop_.Work("p.xwpk")).at(12));
    };

    EXPECT_EQ(channelsOf("3"), 1);
    EXPECT_EQ(channelsOf("3,4"), 2);
    EXPECT_EQ(channelsOf("downmix"), 2);
}

TEST_F(SoundChoiceProgram, APeakFileOfAChoiceIsFoundAgain) {
    const auto peaks = [&](std::vector<std::string> more) {
        more.insert(more.begin(), {"peaks", "@eight.wav", "--json"});
        return shop_.Run(more).Json().at("files").at(0);
    };
    const nlohmann::json whole = peaks({});
    const nlohmann::json third = peaks({"--channels", "3"});

    EXPECT_EQ(third.at("status"), "made");
    EXPECT_NE(third.at("path"), whole.at("path"));
    EXPECT_EQ(peaks({"--channels", "3"}).at("status"), "found");
    EXPECT_EQ(peaks({}).at("path"), whole.at("path"));
}

TEST_F(SoundChoiceProgram, AWaveformDrawsTheChosenChannel) {
    // Only the sixth channel has sound.
    WriteFile(shop_.Work("one.wav"), ConstantWav({0, 0, 0, 0, 0, 20000}));
    const auto picture = [&](const std::string& list) {
        const ProgramResult result = shop_.Run(
            {"waveform", "@one.wav", "--channels", list, "-o", "@w.png", "--size", "64x32"});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return ReadFile(shop_.Work("w.png"));
    };

    EXPECT_EQ(picture("1"), picture("2"));
    EXPECT_NE(picture("1"), picture("6"));
}

TEST_F(SoundChoiceProgram, AnAlignmentTakesTheChosenChannelOfEachRecording) {
    const ProgramResult refused =
        shop_.Run({"align", "@eight.wav", "@streams.mkv", "--channels", "3", "--json"});

    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.err.find("it has 1 channel in audio stream 1, and no channel 3"),
              std::string::npos)
        << refused.err;
}

TEST_F(SoundChoiceProgram, ATimelineOfAlignedRecordingsNamesTheirChannels) {
    // Only the third channel of both has sound, the same noise.
    const std::string noise = NoiseBytes(2 * FRAMES);
    std::string samples;
    for (int i = 0; i < FRAMES; ++i) samples += std::string(4, '\0') + noise.substr(2 * i, 2);
    for (const char* name : {"a.wav", "b.wav"}) {
        WriteFile(shop_.Work(name),
                  Riff(Chunk("fmt ", PcmFormat(1, 3, 48000, 16)) + Chunk("data", samples)));
    }

    const ProgramResult result = shop_.Run(
        {"align", "@a.wav", "@b.wav", "--channels", "3", "--otio", "@sync.otio", "--json"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    const nlohmann::json tracks = shop_.Run({"info", "@sync.otio", "--json"}).Json().at("tracks");
    EXPECT_EQ(tracks.at(1).at("objects").at(0).at("channels"), "3");
}

TEST_F(SoundChoiceProgram, ChannelsThatCannotBeMixedDownCanBeChosen) {
    WriteFile(shop_.Work("ten.wav"), ConstantWav({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));

    const ProgramResult mixed = Mix("@ten.wav", {});

    EXPECT_EQ(mixed.exitCode, 1);
    EXPECT_NE(mixed.err.find("too many channels to be mixed down; choose some with --channels"),
              std::string::npos)
        << mixed.err;
    EXPECT_EQ(MixedMedia("@ten.wav", {"--channels", "10,9"}), (Pair{10, 9}));
}

TEST_F(SoundChoiceProgram, WithATimelineTheOptionsAreWrongUsage) {
    WriteFile(shop_.Work("edit.otio"), Timeline({Track({Clip("eight.wav", 0, 25)})}).dump());
    const std::vector<std::vector<std::string>> commands{
        {"mix", "@edit.otio", "-o", "@o.wav", "--stream", "1"},
        {"play", "@edit.otio", "--output", "null", "--channels", "3"},
        {"conform", "@eight.wav", "@edit.otio", "--channels", "3"},
        {"peaks", "@edit.otio", "--stream", "2"}};
    for (const std::vector<std::string>& command : commands) {
        const ProgramResult result = shop_.Run(command);

        EXPECT_EQ(result.exitCode, 2) << command.front();
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_NE(result.err.find("is for media files"), std::string::npos) << result.err;
    }
}

TEST_F(SoundChoiceProgram, TextsThatAreNotAChoiceAreWrongUsage) {
    const std::vector<std::vector<std::string>> choices{{"--stream", "0"},
                                                        {"--stream", "x"},
                                                        {"--channels", "0"},
                                                        {"--channels", "1,2,3"},
                                                        {"--channels", "left"},
                                                        {"--channels", "65"},
                                                        {"--stream", "2", "--channels", "1:1,2:1"}};
    for (const std::vector<std::string>& choice : choices) {
        const ProgramResult result = Mix("@eight.wav", choice);

        EXPECT_EQ(result.exitCode, 2) << choice.back();
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    }
}

TEST_F(SoundChoiceProgram, AStreamOrAChannelThatDoesNotExistIsOneLine) {
    const auto error = [&](const std::vector<std::string>& options) {
        const ProgramResult result = Mix("@streams.mkv", options);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        return result.err;
    };

    EXPECT_NE(error({"--stream", "4"}).find("it has 3 audio streams, and no audio stream 4"),
              std::string::npos);
    EXPECT_NE(error({"--stream", "3", "--channels", "3"})
                  .find("it has 2 channels in audio stream 3, and no channel 3"),
              std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(shop_.Work("out.wav")));
}

}  // namespace
}  // namespace sonrel_tests
