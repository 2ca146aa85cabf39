// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "tests/host/arrangement/ImportRig.h"

using namespace sonrel_tests;
using orlo::host::otio::TimelineImport;
using zrh::media::ChannelPlace;
using zrh::media::SoundChoice;

namespace {

constexpr int ANY = ChannelPlace::ANY_STREAM;

TimelineImport ImportClip(const Json& clip) {
    return Import(Timeline({Track({clip})}));
}

/// A clip of a.mxf with metadata.
Json ClipWith(const char* program, const Json& metadata) {
    Json clip = Clip("a.mxf", 0, 50);
    clip["metadata"][program] = metadata;
    return clip;
}

/// Metadata of Resolve with pairs of stream and channel, from 0.
Json ResolveChannels(const std::vector<std::pair<int, int>>& places) {
    Json channels = Json::array();
    for (const auto& [stream, channel] : places) {
        channels.push_back({{"Source Channel ID", channel}, {"Source Track ID", stream}});
    }
    return {{"Channels", channels}};
}

/// Metadata of Premiere with channels from 0.
Json PremiereChannels(const std::vector<int>& channels) {
    Json assignments = Json::array();
    for (const int channel : channels) {
        assignments.push_back({{"SecondaryChannelIndex", channel}});
    }
    return {{"AudioChannels",
             {{"ChannelType", channels.size() == 1 ? "Mono" : "Stereo"},
              {"SecondaryAssignments", assignments}}}};
}

SoundChoice SoundOf(const Json& clip) {
    return OnlyClip(ImportClip(clip)).sound;
}

SoundChoice Mono(int stream, int channel) {
    return SoundChoice::OfChannels({stream, channel}, {stream, channel});
}

Json AudioStream(const Json& address) {
    return {
        {"OTIO_SCHEMA", "StreamInfo.1"}, {"name", "x"}, {"kind", "Audio"}, {"address", address}};
}
Json ChannelAddress(int stream, int channel) {
    return {{"OTIO_SCHEMA", "StreamChannelIndexStreamAddress.1"},
            {"stream_index", stream},
            {"channel_index", channel}};
}
Json IndexAddress(int index) {
    return {{"OTIO_SCHEMA", "IndexStreamAddress.1"}, {"index", index}};
}

/// A clip of a MOV with a stereo pair in streams 1 and 2, a centre and a music channel in stream 3.
Json ClipWithStreams(std::vector<Json> effects) {
    Json clip = Clip("a.mov", 0, 50);
    clip["media_reference"]["available_streams"] = {
        {"monocular",
         {{"OTIO_SCHEMA", "StreamInfo.1"}, {"kind", "Video"}, {"address", IndexAddress(0)}}},
        {"stereo_left", AudioStream(ChannelAddress(1, 0))},
        {"stereo_right", AudioStream(ChannelAddress(2, 0))},
        {"boom", AudioStream(ChannelAddress(3, 0))},
        {"music", AudioStream(ChannelAddress(3, 4))}};
    clip["effects"] = Json(std::move(effects));
    return clip;
}

/// A clip of an FCP 7 project with a source track.
Json FcpClip(const std::string& sourceTrack, double start = 0) {
    Json clip = Clip("a.mov", start, 50);
    clip["metadata"]["fcp_xml"] = {
        {"@premiereChannelType", "stereo"},
        {"sourcetrack", {{"mediatype", "audio"}, {"trackindex", sourceTrack}}}};
    return clip;
}

SoundChoice SoundAt(const TimelineImport& import, std::size_t track, std::size_t clip = 0) {
    return import.arrangement.tracks.at(track).clips.at(clip).sound;
}

}  // namespace

// ---- our own metadata

TEST(OwnSound, AClipNamesItsStreamAndItsChannelsFrom1) {
    EXPECT_EQ(SoundOf(ClipWith("sonrel", {{"stream", 2}})), SoundChoice::OfStream(1));
    EXPECT_EQ(SoundOf(ClipWith("sonrel", {{"channels", "3"}})), Mono(0, 3));
    EXPECT_EQ(SoundOf(ClipWith("sonrel", {{"channels", 3}, {"stream", 4}})), Mono(3, 3));
    EXPECT_EQ(SoundOf(ClipWith("sonrel", {{"channels", {1, 2}}})),
              SoundChoice::OfChannels({0, 1}, {0, 2}));
    EXPECT_EQ(SoundOf(ClipWith("sonrel", {{"channels", "1:1,2:1"}})),
              SoundChoice::OfChannels({0, 1}, {1, 1}));
    EXPECT_EQ(SoundOf(ClipWith("sonrel", {{"channels", "downmix"}})), SoundChoice::OfDownmix(0));
}

TEST(OwnSound, ATrackNamesWhatItsClipsLeaveOpen) {
    Json track = Track({Clip("a.mxf", 0, 50), ClipWith("sonrel", {{"channels", "5"}}),
                        ClipWith("sonrel", {{"stream", 1}})});
    track["metadata"]["sonrel"] = {{"stream", 3}, {"channels", "2"}};

    const TimelineImport import = Import(Timeline({track}));

    EXPECT_EQ(SoundAt(import, 0, 0), Mono(2, 2));
    EXPECT_EQ(SoundAt(import, 0, 1), Mono(2, 5));
    EXPECT_EQ(SoundAt(import, 0, 2), Mono(0, 2));
    EXPECT_TRUE(import.report.Entries().empty());
}

TEST(OwnSound, TakesPrecedenceOverOtherPrograms) {
    Json clip = ClipWith("Resolve_OTIO", ResolveChannels({{4, 0}}));
    clip["metadata"]["sonrel"] = {{"channels", "7"}};

    const TimelineImport import = ImportClip(clip);

    EXPECT_EQ(OnlyClip(import).sound, Mono(0, 7));
    EXPECT_TRUE(import.report.Entries().empty());
}

TEST(OwnSound, AValueThatIsNotOneIsListedAndIgnored) {
    for (const Json& value : {Json(0), Json(4097), Json("2"), Json(1.5), Json(true)}) {
        EXPECT_EQ(Reported(ImportClip(ClipWith("sonrel", {{"stream", value}})), "stream"), 1)
            << value;
    }
    for (const Json& value : {Json("x"), Json("0"), Json("1,2,3"), Json({0, 0}), Json(65), Json(-1),
                              Json("1,2:1"), Json("mono:1,2"), Json(""), Json::object()}) {
        const TimelineImport import = ImportClip(ClipWith("sonrel", {{"channels", value}}));
        EXPECT_EQ(Reported(import, "channels"), 1) << value;
        EXPECT_EQ(OnlyClip(import).sound, SoundChoice::OfStream(0)) << value;
    }
}

TEST(OwnSound, AStreamThatContradictsTheChannelsIsListedAndIgnored) {
    const TimelineImport import =
        ImportClip(ClipWith("sonrel", {{"stream", 3}, {"channels", "1:1,2:1"}}));

    EXPECT_EQ(OnlyClip(import).sound, SoundChoice::OfChannels({0, 1}, {1, 1}));
    EXPECT_EQ(Reported(import, "stream"), 1);
}

// ---- other programs

TEST(ChannelMapping, ResolveNamesStreamAndChannelFrom0) {
    EXPECT_EQ(SoundOf(ClipWith("Resolve_OTIO", ResolveChannels({{2, 0}, {2, 1}}))),
              SoundChoice::OfChannels({2, 1}, {2, 2}));
    EXPECT_EQ(SoundOf(ClipWith("Resolve_OTIO", ResolveChannels({{0, 1}}))), Mono(0, 2));
    EXPECT_EQ(SoundOf(ClipWith("Resolve_OTIO", ResolveChannels({{6, 0}, {7, 0}}))),
              SoundChoice::OfChannels({6, 1}, {7, 1}));
}

TEST(ChannelMapping, MoreThanTwoChannelsInTheirOrderAreTheirWholeStream) {
    const TimelineImport whole = ImportClip(ClipWith(
        "Resolve_OTIO", ResolveChannels({{1, 0}, {1, 1}, {1, 2}, {1, 3}, {1, 4}, {1, 5}})));
    const TimelineImport mixed =
        ImportClip(ClipWith("Resolve_OTIO", ResolveChannels({{1, 0}, {1, 4}, {1, 2}})));

    EXPECT_EQ(OnlyClip(whole).sound, SoundChoice::OfStream(1));
    EXPECT_TRUE(whole.report.Entries().empty());
    EXPECT_EQ(OnlyClip(mixed).sound, SoundChoice::OfStream(1));
    EXPECT_EQ(Reported(mixed, "source channels", "mixed down"), 1);
}

TEST(ChannelMapping, PremiereCountsTheChannelsOfAllStreamsFrom0) {
    EXPECT_EQ(SoundOf(ClipWith("PremierePro_OTIO", PremiereChannels({0, 1}))),
              SoundChoice::OfChannels({ANY, 1}, {ANY, 2}));
    EXPECT_EQ(SoundOf(ClipWith("PremierePro_OTIO", PremiereChannels({5}))), Mono(ANY, 6));
}

TEST(ChannelMapping, AnAudioStreamIsNamedFrom0InTheClipOrItsMedia) {
    Json clip = Clip("a.mkv", 0, 50);
    clip["media_reference"]["metadata"]["ffmpeg_audio_stream"] = 2;
    EXPECT_EQ(SoundOf(clip), SoundChoice::OfStream(2));
    clip["metadata"]["ffmpeg_audio_stream"] = 1;
    EXPECT_EQ(SoundOf(clip), SoundChoice::OfStream(1));
    clip["metadata"]["ffmpeg_audio_stream"] = "x";
    EXPECT_EQ(Reported(ImportClip(clip), "ffmpeg_audio_stream"), 1);
}

TEST(ChannelMapping, MappingsThatContradictEachOtherAreListed) {
    Json clip = ClipWith("Resolve_OTIO", ResolveChannels({{0, 1}}));
    clip["metadata"]["PremierePro_OTIO"] = PremiereChannels({2});
    clip["metadata"]["ffmpeg_audio_stream"] = 3;

    const TimelineImport import = ImportClip(clip);

    EXPECT_EQ(OnlyClip(import).sound, Mono(0, 2));
    EXPECT_EQ(Reported(import, "source channels", "PremierePro_OTIO (channel 3 of all streams)"),
              1);
    EXPECT_EQ(Reported(import, "source channels", "ffmpeg_audio_stream (audio stream 4)"), 1);
}

TEST(ChannelMapping, MappingsThatMayBeTheSameSoundAreNotListed) {
    Json clip = ClipWith("Resolve_OTIO", ResolveChannels({{1, 0}, {1, 1}}));
    clip["metadata"]["PremierePro_OTIO"] = PremiereChannels({0, 1});
    clip["metadata"]["ffmpeg_audio_stream"] = 1;

    EXPECT_TRUE(ImportClip(clip).report.Entries().empty());
}

// ---- the stream and channel mapping of OpenTimelineIO

TEST(StreamEffect, ASelectorChoosesAStereoPairOrOneStream) {
    const auto selector = [](const Json& names) -> Json {
        return {{"OTIO_SCHEMA", "StreamSelector.1"}, {"output_streams", names}};
    };
    const TimelineImport pair =
        ImportClip(ClipWithStreams({selector({"stereo_left", "stereo_right"})}));

    EXPECT_EQ(OnlyClip(pair).sound,
              SoundChoice::OfChannels({ChannelPlace::OfFile(1), 1}, {ChannelPlace::OfFile(2), 1}));
    EXPECT_TRUE(pair.report.Entries().empty());
    EXPECT_EQ(SoundOf(ClipWithStreams({selector({"music"})})), Mono(ChannelPlace::OfFile(3), 5));
    EXPECT_EQ(Reported(ImportClip(ClipWithStreams({selector({"boom", "music"})})), "stream effect",
                       "not a stereo pair"),
              1);
    EXPECT_EQ(Reported(ImportClip(ClipWithStreams({selector({"none"})})), "stream effect",
                       "no stream of sound"),
              1);
}

TEST(StreamEffect, AMapperRenamesStreams) {
    const Json mapper = {{"OTIO_SCHEMA", "StreamMapper.1"},
                         {"stream_map", {{"stereo_left", "boom"}, {"stereo_right", "music"}}}};

    EXPECT_EQ(SoundOf(ClipWithStreams({mapper})),
              SoundChoice::OfChannels({ChannelPlace::OfFile(3), 1}, {ChannelPlace::OfFile(3), 5}));
}

TEST(StreamEffect, AMatrixOfSingleStreamsIsUsedAndAMixIsListed) {
    const auto matrix = [](const Json& rows) -> Json {
        return {{"OTIO_SCHEMA", "AudioMixMatrix.1"}, {"matrix", rows}};
    };
    const Json swap = {{"stereo_left", {{"stereo_right", 1.0}, {"boom", 0.0}}},
                       {"stereo_right", {{"stereo_left", 1.0}}}};
    const Json mix = {{"stereo_left", {{"stereo_left", 1.0}, {"boom", 0.707}}},
                      {"stereo_right", {{"stereo_right", 1.0}}}};

    EXPECT_EQ(SoundOf(ClipWithStreams({matrix(swap)})),
              SoundChoice::OfChannels({ChannelPlace::OfFile(2), 1}, {ChannelPlace::OfFile(1), 1}));
    EXPECT_EQ(Reported(ImportClip(ClipWithStreams({matrix(mix)})), "stream effect", "mixed down"),
              1);
}

TEST(StreamEffect, AMatrixThatPassesStreamsOnAtOneLevelIsThisSoundAtThisLevel) {
    const auto import = [](const Json& rows) {
        return ImportClip(
            ClipWithStreams({{{"OTIO_SCHEMA", "AudioMixMatrix.1"}, {"matrix", rows}}}));
    };
    const TimelineImport half = import(
        {{"stereo_left", {{"boom", 0.5}}}, {"stereo_right", {{"stereo_left", 0.5}, {"boom", 0}}}});
    const TimelineImport left =
        import({{"stereo_left", {{"stereo_left", 1}}}, {"stereo_right", {{"stereo_left", 0.0}}}});

    EXPECT_EQ(OnlyClip(half).sound,
              SoundChoice::OfChannels({ChannelPlace::OfFile(3), 1}, {ChannelPlace::OfFile(1), 1}));
    // 20 * log10(0.5)
    EXPECT_NEAR(OnlyClip(half).level.decibels.value_or(0), -6.0206, 1e-4);
    EXPECT_TRUE(half.report.Entries().empty());
    EXPECT_EQ(OnlyClip(left).sound,
              SoundChoice::OfChannels({ChannelPlace::OfFile(1), 1}, {ANY, 0}));
    EXPECT_FALSE(OnlyClip(left).level.decibels);
}

TEST(StreamEffect, AMatrixThatAddsInvertsOrWeighsStreamsIsListed) {
    for (const Json& right :
         {Json{{"stereo_left", 1.0}, {"stereo_right", 1.0}}, Json{{"stereo_right", -1.0}},
          Json{{"stereo_right", 0.5}}, Json{{"stereo_right", "1"}}, Json{{"nowhere", 1.0}}}) {
        const Json matrix = {
            {"OTIO_SCHEMA", "AudioMixMatrix.1"},
            {"matrix", {{"stereo_left", {{"stereo_left", 1.0}}}, {"stereo_right", right}}}};
        const TimelineImport import = ImportClip(ClipWithStreams({matrix}));
        EXPECT_EQ(Reported(import, "stream effect", "mixed down"), 1) << right;
        EXPECT_EQ(OnlyClip(import).sound, SoundChoice()) << right;
    }
}

TEST(StreamEffect, AnIndexCountsTheChannelsOfAWaveAndTheStreamsOfOtherFiles) {
    Json clip = Clip("a.WAV", 0, 50);
    clip["media_reference"]["available_streams"] = {{"monaural", AudioStream(IndexAddress(6))}};
    EXPECT_EQ(SoundOf(clip), Mono(ANY, 7));
    clip["media_reference"]["target_url"] = "a.mkv";
    EXPECT_EQ(SoundOf(clip), Mono(ChannelPlace::OfFile(6), 1));
    clip["media_reference"]["available_streams"]["monaural"]["address"]["index"] = -1;
    EXPECT_EQ(Reported(ImportClip(clip), "stream address"), 1);
}

// ---- FCP 7

TEST(ExplodedStereo, TwoClipsOnTwoTracksAreLeftAndRight) {
    const TimelineImport import =
        Import(Timeline({Track({FcpClip("1"), FcpClip("3", 10)}),
                         Track({FcpClip("2"), FcpClip("4", 10)}), Track({FcpClip("1", 500)})}));

    EXPECT_EQ(SoundAt(import, 0, 0), SoundChoice::OfChannels({ANY, 1}, {ANY, 0}));
    EXPECT_EQ(SoundAt(import, 1, 0), SoundChoice::OfChannels({ANY, 0}, {ANY, 2}));
    EXPECT_EQ(SoundAt(import, 0, 1), SoundChoice::OfChannels({ANY, 3}, {ANY, 0}));
    EXPECT_EQ(SoundAt(import, 1, 1), SoundChoice::OfChannels({ANY, 0}, {ANY, 4}));
    // Another part of the file is not the other half.
    EXPECT_EQ(SoundAt(import, 2, 0), Mono(ANY, 1));
}

TEST(ExplodedStereo, AClipWithoutItsOtherHalfIsOneChannelOnBothSides) {
    EXPECT_EQ(SoundOf(FcpClip("2")), Mono(ANY, 2));
    Json picture = FcpClip("1");
    picture["metadata"]["fcp_xml"]["sourcetrack"]["mediatype"] = "video";
    EXPECT_EQ(SoundOf(picture), SoundChoice::OfStream(0));
}

TEST(ExplodedStereo, TheFirstHalfOfAStereoTrackStandsForBothWhereTheSecondIsLeftOut) {
    Json track = Track({FcpClip("1"), FcpClip("3")});
    track["metadata"]["fcp_xml"] = {{"@premiereTrackType", "Stereo"},
                                    {"@currentExplodedTrackIndex", "0"},
                                    {"@totalExplodedTrackCount", "2"}};
    Json mono = FcpClip("1", 20);
    mono["metadata"]["fcp_xml"]["@premiereChannelType"] = "mono";
    track["children"].push_back(mono);

    const TimelineImport import = Import(Timeline({track}));

    EXPECT_EQ(SoundAt(import, 0, 0), SoundChoice::OfChannels({ANY, 1}, {ANY, 2}));
    EXPECT_EQ(SoundAt(import, 0, 1), SoundChoice::OfChannels({ANY, 3}, {ANY, 4}));
    EXPECT_EQ(SoundAt(import, 0, 2), Mono(ANY, 1));
}
