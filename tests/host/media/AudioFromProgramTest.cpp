// SPDX-License-Identifier: MIT
#include "tests/host/media/SoundRig.h"

namespace sonrel_tests {
namespace {

Json VideoTrack(std::vector<Json> children, const std::string& name = "V1") {
    return Track(std::move(children), name, "Video");
}

class AudioFromProgram : public SoundRig {
protected:
    void SetUp() override {
        SoundRig::SetUp();
        WriteFile(shop_.Work("other.wav"), ConstantWav({1000, 2000}));
    }

    void Write(std::vector<Json> tracks) {
        WriteFile(shop_.Work("edit.otio"), Timeline(std::move(tracks)).dump());
    }

    /// Runs a command on the timeline. The commands of each row write nothing but their report.
    ProgramResult Run(const std::string& command, std::vector<std::string> more = {}) {
        std::vector<std::string> arguments{command, "@edit.otio", "--json"};
        if (command == "mix") arguments.insert(arguments.end(), {"-o", "@out.wav"});
        if (command == "play") arguments.insert(arguments.end(), {"--output", "@out.raw"});
        arguments.insert(arguments.end(), more.begin(), more.end());
        return shop_.Run(arguments);
    }
};

TEST_F(AudioFromProgram, WithoutAudioTracksAllVideoTracksAreHeard) {
    EXPECT_EQ(MixedTracks({VideoTrack({Clip("streams.mkv", 0, 25)}),
                           VideoTrack({Clip("other.wav", 0, 25)}, "V2")}),
              (Pair{1011, 2011}));
    EXPECT_TRUE(last_.Json().at("notTakenOver").empty()) << last_.out;
    EXPECT_EQ(last_.Json().at("audioFrom"), "video");
}

TEST_F(AudioFromProgram, EveryCommandTakesTheSoundOfTheTracksThatAreChosen) {
    Write({VideoTrack({Clip("streams.mkv", 0, 25)}), Track({Clip("other.wav", 0, 25)})});
    const std::string video = shop_.Work("streams.mkv").string();
    const std::string audio = shop_.Work("other.wav").string();

    const auto file = [&](std::vector<std::string> more) {
        const auto files = Run("conform", std::move(more)).Json().at("files");
        EXPECT_EQ(files.size(), 1u);
        return files.at(0).at("media").get<std::string>();
    };
    EXPECT_EQ(file({}), audio);
    EXPECT_EQ(file({"--audio-from", "video"}), video);
    const auto sounding = Run("info", {"--audio-from", "video"}).Json();
    EXPECT_EQ(sounding.at("media").at(0).at("path"), video);
    ASSERT_EQ(Run("mix", {"--audio-from", "video", "--dither", "none"}).exitCode, 0);
    EXPECT_EQ(OnlyFrame(shop_.Work("out.wav")), (Pair{11, 11}));
    ASSERT_EQ(Run("play", {"--audio-from", "video", "--dither", "none"}).exitCode, 0);
    EXPECT_EQ(ReadFile(shop_.Work("out.raw")), Constant({11, 11}));
}

TEST_F(AudioFromProgram, AnEmptyTimelineIsRefusedWithItsTracksAndTheOption) {
    Write({VideoTrack({Clip("streams.mkv", 0, 25)}), VideoTrack({}, "V2")});

    for (const char* command : {"mix", "play"}) {
        const ProgramResult result = Run(command, {"--audio-from", "audio"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_NE(result.err.find("has no audio tracks and 2 video tracks with 1 clip: with "
                                  "--audio-from audio there is nothing to " +
                                  std::string(command) + "; use --audio-from video"),
                  std::string::npos)
            << result.err;
    }
}

TEST_F(AudioFromProgram, ATimelineOfAnotherKindOfTracksIsRefusedWithTheKind) {
    Write({Track({Clip("streams.mkv", 0, 25)}, "A1", "Sound")});

    const ProgramResult result = Run("mix");

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.err.find("has no audio tracks and no video tracks, and 1 track of kind "
                              "'Sound': with"),
              std::string::npos)
        << result.err;
}

TEST_F(AudioFromProgram, InfoShowsAllTracks) {
    Write({VideoTrack({Clip("streams.mkv", 0, 25)}, "pictures"),
           Track({Clip("other.wav", 0, 25)}, "voice")});

    const nlohmann::json report = Run("info").Json();
    const std::string text = shop_.Run({"info", "@edit.otio"}).out;

    EXPECT_EQ(report.at("audioFrom"), "audio");
    const nlohmann::json& tracks = report.at("tracks");
    ASSERT_EQ(tracks.size(), 2u);
    EXPECT_EQ(tracks.at(0).at("kind"), "video");
    EXPECT_EQ(tracks.at(0).at("sounds"), false);
    EXPECT_EQ(tracks.at(0).at("clips"), 1);
    EXPECT_TRUE(tracks.at(0).at("objects").empty());
    EXPECT_EQ(tracks.at(1).at("kind"), "audio");
    EXPECT_EQ(tracks.at(1).at("objects").size(), 1u);
    EXPECT_NE(text.find("track 1 'pictures', video, not heard, 1 clip\ntrack 2 'voice'\n"),
              std::string::npos)
        << text;
}

TEST_F(AudioFromProgram, PicturesWithoutSoundAreOneEntryOfEveryCommand) {
    WriteFile(shop_.Work("silent.mkv"), ConstantStreams({}));
    Write(
        {VideoTrack({Clip("streams.mkv", 0, 25)}),
         VideoTrack({Clip("silent.mkv", 0, 10), Clip("lost.png", 0, 5), Clip("silent.mkv", 0, 10)},
                    "V2")});

    for (const char* command : {"info", "conform", "mix", "play"}) {
        const ProgramResult result = Run(command);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        const auto entries = result.Json().at("notTakenOver");
        ASSERT_EQ(entries.size(), 1u) << result.out;
        EXPECT_EQ(entries.at(0).at("what"), "clip on a video track");
        EXPECT_EQ(entries.at(0).at("reason"), "its media has no sound");
        EXPECT_EQ(entries.at(0).at("count"), 3);
        EXPECT_EQ(entries.at(0).at("severity"), "note");
    }
}

TEST_F(AudioFromProgram, APictureFileThatCannotBeReadIsAnEntryOfEveryCommand) {
    WriteFile(shop_.Work("shot.r3d"), "a format that is not known");
    std::filesystem::create_directory(shop_.Work("frames"));
    Write({VideoTrack({Clip("streams.mkv", 0, 25), Clip("shot.r3d", 0, 5), Clip("frames", 0, 5)})});

    for (const char* command : {"info", "conform", "mix", "play"}) {
        const ProgramResult result = Run(command);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        const auto entries = result.Json().at("notTakenOver");
        ASSERT_EQ(entries.size(), 2u) << result.out;
        for (const auto& [entry, name] : {std::pair(0, "shot.r3d': not a media file"),
                                          std::pair(1, "frames': it is not a regular file")}) {
            EXPECT_EQ(entries.at(entry).at("what"), "clip");
            EXPECT_EQ(entries.at(entry).at("severity"), "silence");
            const std::string reason = entries.at(entry).at("reason");
            EXPECT_NE(reason.find(name), std::string::npos) << reason;
            EXPECT_TRUE(reason.ends_with("; it is silent")) << reason;
        }
    }
    EXPECT_EQ(Run("mix", {"--strict", "--overwrite"}).exitCode, 3);
    EXPECT_NE(shop_.Run({"info", "@edit.otio"}).out.find("the media of 2 clips cannot be read\n"),
              std::string::npos);
}

TEST_F(AudioFromProgram, APictureOfACameraIsAStillWithoutSound) {
    WriteFile(shop_.Work("shot.NEF"), "raw");
    Write({VideoTrack({Clip("streams.mkv", 0, 25), Clip("shot.NEF", 0, 5), Clip("x.dng", 0, 5)})});

    const ProgramResult result = Run("mix");

    EXPECT_EQ(result.exitCode, 0) << result.err;
    ASSERT_EQ(result.Json().at("notTakenOver").size(), 1u) << result.out;
    EXPECT_EQ(result.Json().at("notTakenOver").at(0).at("reason"), "its media has no sound");
    EXPECT_EQ(result.Json().at("notTakenOver").at(0).at("count"), 2);
}

TEST_F(AudioFromProgram, AFileOfSoundThatCannotBeReadFailsEveryCommand) {
    WriteFile(shop_.Work("damaged.mov"), "not a movie");
    WriteFile(shop_.Work("shot.r3d"), "a format that is not known");
    const Json sound = Clip("streams.mkv", 0, 25);
    for (const Json& track :
         {VideoTrack({sound, Clip("damaged.mov", 0, 5)}), Track({sound, Clip("shot.r3d", 0, 5)})}) {
        Write({track});
        for (const char* command : {"info", "conform", "mix", "play"}) {
            const ProgramResult result = Run(command);
            EXPECT_EQ(result.exitCode, 1) << command;
            EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        }
    }
}

TEST_F(AudioFromProgram, ConformDoesNotFailForAMediaFileWithoutSound) {
    WriteFile(shop_.Work("silent.mkv"), ConstantStreams({}));
    Write({Track({Clip("other.wav", 0, 25), Clip("silent.mkv", 0, 10)})});

    const ProgramResult result = Run("conform");

    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.Json().at("files").size(), 1u);
    EXPECT_EQ(result.Json().at("notTakenOver").at(0).at("reason"), "its media file has no sound");
}

TEST_F(AudioFromProgram, ConformComparesClipsThatUseLeftAndRightOfAFileWithOneChannel) {
    WriteFile(shop_.Work("mono.wav"), ConstantWav({70}));
    Json clip = Clip("mono.wav", 0, 50);
    clip["metadata"]["PremierePro_OTIO"]["AudioChannels"]["SecondaryAssignments"] = {
        {{"SecondaryChannelIndex", 0}}, {{"SecondaryChannelIndex", 1}}};
    Write({Track({clip})});

    for (const char* command : {"info", "conform", "mix"}) {
        const auto entries = Run(command).Json().at("notTakenOver");
        ASSERT_EQ(entries.size(), 2u) << command << entries;
        EXPECT_EQ(entries.at(0).at("reason"),
                  "it asks for frames 0 to 50, the file has 25; it is silent from 00:00:01:00 to "
                  "00:00:02:00");
        EXPECT_EQ(entries.at(1).at("severity"), "note");
    }
}

}  // namespace
}  // namespace sonrel_tests
