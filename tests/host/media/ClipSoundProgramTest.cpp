// SPDX-License-Identifier: MIT
#include "tests/host/media/SoundRig.h"

namespace sonrel_tests {
namespace {

class ClipSoundProgram : public SoundRig {};

TEST_F(ClipSoundProgram, AClipSoundsWithTheStreamAndTheChannelsOfItsMetadata) {
    EXPECT_EQ(MixedTracks({Track({WithOurs(Clip("streams.mkv", 0, 25), {{"stream", 3}})}),
                           Track({WithOurs(Clip("eight.wav", 0, 25), {{"channels", "5,6"}})})}),
              (Pair{33 + 500, 44 + 600}));
}

TEST_F(ClipSoundProgram, EightTracksOnMonoStreamsEachSoundWithTheirOwnStream) {
    WriteFile(shop_.Work("mono.mkv"), ConstantStreams({{1}, {10}, {100}, {1000}}));
    std::vector<Json> tracks;
    for (int stream = 0; stream < 4; ++stream) {
        Json clip = Clip("mono.mkv", 0, 25);
        clip["metadata"]["Resolve_OTIO"]["Channels"] = {
            {{"Source Channel ID", 0}, {"Source Track ID", stream}}};
        tracks.push_back(Track({clip}));
    }

    EXPECT_EQ(MixedTracks(tracks), (Pair{1111, 1111}));
}

TEST_F(ClipSoundProgram, TwoMonoStreamsAreLeftAndRightOfAClip) {
    Json clip = Clip("streams.mkv", 0, 25);
    clip["metadata"]["Resolve_OTIO"]["Channels"] = {
        {{"Source Channel ID", 0}, {"Source Track ID", 1}},
        {{"Source Channel ID", 0}, {"Source Track ID", 0}}};
    Json all = Clip("streams.mkv", 0, 25);
    // The third channel of all is the first one of the third stream.
    all["metadata"]["PremierePro_OTIO"]["AudioChannels"]["SecondaryAssignments"] = {
        {{"SecondaryChannelIndex", 2}}};

    EXPECT_EQ(MixedTracks({Track({clip}), Track({all})}), (Pair{22 + 33, 11 + 33}));
}

TEST_F(ClipSoundProgram, AStreamOfTheFileIsCountedWithItsPictures) {
    Json clip = Clip("streams.mkv", 0, 25);
    clip["media_reference"]["available_streams"]["monaural"] = {
        {"OTIO_SCHEMA", "StreamInfo.1"},
        {"kind", "Audio"},
        {"address",
         {{"OTIO_SCHEMA", "StreamChannelIndexStreamAddress.1"},
          {"stream_index", 3},
          {"channel_index", 1}}}};

    EXPECT_EQ(MixedTracks({Track({clip})}), (Pair{44, 44}));
}

TEST_F(ClipSoundProgram, ExplodedStereoSoundsOnce) {
    WriteFile(shop_.Work("stereo.wav"), ConstantWav({1000, 2000}));
    std::vector<Json> tracks;
    for (const char* source : {"1", "2"}) {
        Json clip = Clip("stereo.wav", 0, 25);
        clip["metadata"]["fcp_xml"]["sourcetrack"] = {{"mediatype", "audio"},
                                                      {"trackindex", source}};
        tracks.push_back(Track({clip}));
    }

    EXPECT_EQ(MixedTracks(tracks), (Pair{1000, 2000}));
}

TEST_F(ClipSoundProgram, AClipWhoseChannelsDoNotExistIsListedAndSilent) {
    EXPECT_EQ(MixedTracks({Track({WithOurs(Clip("eight.wav", 0, 25), {{"channels", "9"}})}),
                           Track({WithOurs(Clip("streams.mkv", 0, 25), {{"stream", 2}})})}),
              (Pair{22, 22}));

    const nlohmann::json entries = last_.Json().at("notTakenOver");
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries.at(0).at("reason"),
              "it uses channel 9, and its media file has 8 channels in audio stream 1, and no "
              "channel 9; it is silent");
}

TEST_F(ClipSoundProgram, LeftAndRightOfAFileWithOneChannelAreItsChannelAndListed) {
    WriteFile(shop_.Work("mono.wav"), ConstantWav({70}));
    Json clip = Clip("mono.wav", 0, 25);
    clip["metadata"]["PremierePro_OTIO"]["AudioChannels"]["SecondaryAssignments"] = {
        {{"SecondaryChannelIndex", 0}}, {{"SecondaryChannelIndex", 1}}};

    EXPECT_EQ(MixedTracks({Track({clip})}), (Pair{70, 70}));
    EXPECT_EQ(last_.Json().at("notTakenOver").size(), 1u);
    EXPECT_EQ(Conform({"@edit.otio"}).at("status"), "found");
}

// ---- info

TEST_F(ClipSoundProgram, InfoListsTheStreamsAndThoseThatAreNotUsed) {
    const ProgramResult text = shop_.Run({"info", "@streams.mkv"});
    const nlohmann::json media =
        shop_.Run({"info", "@streams.mkv", "--json"}).Json().at("media").at(0);

    EXPECT_NE(text.out.find("note: audio streams 2, 3 are not used"), std::string::npos)
        << text.out;
    EXPECT_NE(text.out.find("    stream 2: audio 1, pcm_s16le, eng, 48000 Hz, 1 channel"),
              std::string::npos)
        << text.out;
    EXPECT_EQ(media.at("streams").at(0).at("kind"), "video");
    EXPECT_EQ(media.at("streams").at(3).at("index"), 3);
    EXPECT_EQ(media.at("streams").at(3).at("stream"), 2);
    EXPECT_EQ(media.at("streams").at(3).at("channels"), 2);
    // The language of a track of a Matroska file that does not declare it.
    EXPECT_EQ(media.at("streams").at(3).at("language"), "eng");
    EXPECT_EQ(media.at("streams").at(0).at("variableFrameRate"), false);
    EXPECT_NE(media.at("note").get<std::string>().find("--stream"), std::string::npos);
}

// The table of the downmix has the low-frequency channel fourth, and it is not heard.
TEST_F(ClipSoundProgram, InfoNamesTheChannelThatADownmixWithoutDeclaredLoudspeakersLeavesOut) {
    const nlohmann::json media =
        shop_.Run({"info", "@eight.wav", "--json"}).Json().at("media").at(0);

    EXPECT_EQ(media.at("note"),
              "channel 4 of audio stream 1 is not used; choose with --stream and --channels");
}

TEST_F(ClipSoundProgram, InfoNamesTheStreamAndTheChannelsThatAClipTakes) {
    Json through = Clip("streams.mkv", 0, 25);
    // The third channel of all is the first one of the third stream.
    through["metadata"]["PremierePro_OTIO"]["AudioChannels"]["SecondaryAssignments"] = {
        {{"SecondaryChannelIndex", 2}}};
    WriteFile(shop_.Work("edit.otio"),
              Timeline({Track({Clip("streams.mkv", 0, 25), through,
                               WithOurs(Clip("streams.mkv", 0, 25), {{"stream", 2}}),
                               WithOurs(Clip("streams.mkv", 0, 25), {{"channels", "1:1,3:2"}}),
                               Clip("eight.wav", 0, 25)})})
                  .dump());

    const std::string text = InOneLine(shop_.Run({"info", "@edit.otio"}).out);

    for (const char* taken :
         {"streams.mkv (audio stream 1) frames", "streams.mkv (audio stream 3, channel 1) frames",
          "streams.mkv (audio stream 2) frames",
          "streams.mkv (audio stream 1, channel 1 and audio stream 3, channel 2) frames",
          "eight.wav (downmix of 8 channels) media"}) {
        EXPECT_NE(text.find(taken), std::string::npos) << taken << text;
    }
}

TEST_F(ClipSoundProgram, InfoOfATimelineNamesTheChannelsOfClipsAndThoseThatNoClipUses) {
    WriteFile(shop_.Work("edit.otio"),
              Timeline({Track({WithOurs(Clip("eight.wav", 0, 25), {{"channels", "2,7"}}),
                               WithOurs(Clip("eight.wav", 0, 25), {{"channels", "3"}})})})
                  .dump());

    const ProgramResult text = shop_.Run({"info", "@edit.otio"});
    const nlohmann::json report = shop_.Run({"info", "@edit.otio", "--json"}).Json();

    EXPECT_NE(InOneLine(text.out).find("eight.wav (channels 2 and 7)"), std::string::npos)
        << text.out;
    EXPECT_NE(text.out.find("note: channels 1, 4 to 6, 8 of audio stream 1 are not used"),
              std::string::npos)
        << text.out;
    EXPECT_EQ(report.at("tracks").at(0).at("objects").at(1).at("channels"), "3");
    EXPECT_EQ(report.at("tracks").at(0).at("objects").at(1).at("stream"), 0);
}

}  // namespace
}  // namespace sonrel_tests
