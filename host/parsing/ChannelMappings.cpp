// SPDX-License-Identifier: MIT
#include "host/parsing/ChannelMappings.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/otio/Fields.h"
#include "host/parsing/StreamEffects.h"
#include "host/shell/SoundText.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

using zrh::media::ChannelPlace;
using zrh::media::SoundChoice;

constexpr int MAX_STREAMS = 4096;
constexpr int ANY = ChannelPlace::ANY_STREAM;

/// The sound that a program stored, and the name of its metadata.
struct Mapping {
    std::string program;
    SoundChoice sound;
};

/// A count from 0. @return -1 when the value is not one
int IndexValue(const Json* value, int end) {
    const long long index = value == nullptr ? -1 : value->AsInteger().value_or(-1);
    return index >= 0 && index < end ? static_cast<int>(index) : -1;
}

/// The sound of a list of channels: one for both sides, or left and right. More than two channels
/// in their order are all channels of their stream.
std::optional<SoundChoice> SoundOf(const std::vector<ChannelPlace>& places, const Item& item,
                                   ImportReport& report) {
    if (places.empty()) return std::nullopt;
    if (places.size() <= 2) return SoundChoice::OfChannels(places.front(), places.back());
    const int stream = places.front().stream == ANY ? 0 : places.front().stream;
    int channel = 0;
    for (const ChannelPlace& place : places) {
        if (place.stream == places.front().stream && place.channel == ++channel) continue;
        report.Add("source channels", item.place,
                   "more than two channels that are not a whole stream; all channels of audio "
                   "stream " +
                       std::to_string(stream + 1) + " are mixed down");
        break;
    }
    return SoundChoice::OfStream(stream);
}

/// Resolve: a list of stream and channel, both from 0.
std::optional<SoundChoice> ResolveSound(const Json& clip, const Item& item, ImportReport& report) {
    const Json* metadata = MetadataOf(clip, "Resolve_OTIO");
    const Json* channels = metadata == nullptr ? nullptr : Member(*metadata, "Channels");
    if (channels == nullptr || !channels->IsArray()) return std::nullopt;
    std::vector<ChannelPlace> places;
    for (const Json& source : channels->AsArray()) {
        const int stream = IndexValue(Member(source, "Source Track ID"), MAX_STREAMS);
        const Json* channelValue = Member(source, "Source Channel ID");
        const int channel = IndexValue(channelValue, SoundChoice::MAX_CHANNELS);
        if (stream < 0) {
            report.Add("source stream", item.place,
                       "it is not a stream number; the first stream is used");
            return std::nullopt;
        }
        if (channel < 0) {
            report.Add("source channels", item.place,
                       "they are not channel numbers; all channels of the stream are used");
            return SoundChoice::OfStream(stream);
        }
        places.push_back({stream, channel + 1});
    }
    return SoundOf(places, item, report);
}

/// Premiere: a list of channels from 0, counted through all streams.
std::optional<SoundChoice> PremiereSound(const Json& clip, const Item& item, ImportReport& report) {
    const Json* metadata = MetadataOf(clip, "PremierePro_OTIO");
    const Json* audio = metadata == nullptr ? nullptr : Member(*metadata, "AudioChannels");
    const Json* channels = audio == nullptr ? nullptr : Member(*audio, "SecondaryAssignments");
    if (channels == nullptr || !channels->IsArray()) return std::nullopt;
    std::vector<ChannelPlace> places;
    for (const Json& assignment : channels->AsArray()) {
        const int channel =
            IndexValue(Member(assignment, "SecondaryChannelIndex"), SoundChoice::MAX_CHANNELS);
        if (channel < 0) {
            report.Add("source channels", item.place,
                       "they are not channel numbers; the first stream is used");
            return std::nullopt;
        }
        places.push_back({ANY, channel + 1});
    }
    return SoundOf(places, item, report);
}

/// The index of an audio stream, from 0, in the metadata of the clip or of its media.
std::optional<SoundChoice> StreamNumberSound(const Json& clip, const Json* reference,
                                             const Item& item, ImportReport& report) {
    for (const Json* object : {&clip, reference}) {
        const Json* metadata = object == nullptr ? nullptr : Member(*object, "metadata");
        const Json* value =
            metadata == nullptr ? nullptr : Member(*metadata, "ffmpeg_audio_stream");
        if (value == nullptr || value->IsNull()) continue;
        const int stream = IndexValue(value, MAX_STREAMS);
        if (stream >= 0) return SoundChoice::OfStream(stream);
        report.Add("ffmpeg_audio_stream", item.place,
                   "it is not a stream number; the first stream is used");
    }
    return std::nullopt;
}

/// The number of a source track of an FCP 7 clip, from 1, which counts channels through all
/// streams; 0 for none. Its values are texts.
int SourceTrackOf(const Json& clip) {
    const Json* metadata = MetadataOf(clip, "fcp_xml");
    const Json* source = metadata == nullptr ? nullptr : Member(*metadata, "sourcetrack");
    if (source == nullptr || StringMember(*source, "mediatype") != "audio") return 0;
    const Json* index = Member(*source, "trackindex");
    if (index == nullptr) return 0;
    const long long number = index->IsString() ? ParseInteger(index->AsString()).value_or(0)
                                               : index->AsInteger().value_or(0);
    return number >= 1 && number <= SoundChoice::MAX_CHANNELS ? static_cast<int>(number) : 0;
}

bool MayBeOneStream(int a, int b) {
    return a == b || a < 0 || b < 0;
}

/// Whether two sounds cannot be the same. Channels that are counted through all streams may be
/// those of any stream, and a whole stream may have only the chosen channels.
bool Contradict(const SoundChoice& a, const SoundChoice& b) {
    if (!MayBeOneStream(a.Stream(), b.Stream())) return true;
    if (a.kind != SoundChoice::Kind::Channels || b.kind != SoundChoice::Kind::Channels)
        return false;
    return a.left.channel != b.left.channel || a.right.channel != b.right.channel ||
           !MayBeOneStream(a.right.stream, b.right.stream);
}

}  // namespace

void ParseChannelMappings(const Json& clip, Item& item, ImportReport& report) {
    const Json* reference = ActiveReference(clip);
    std::vector<Mapping> mappings;
    const auto add = [&](const char* program, const std::optional<SoundChoice>& sound) {
        if (sound) mappings.push_back({program, *sound});
    };
    add("the stream effects", StreamEffectSound(clip, reference, item, report));
    add("Resolve_OTIO", ResolveSound(clip, item, report));
    add("PremierePro_OTIO", PremiereSound(clip, item, report));
    add("ffmpeg_audio_stream", StreamNumberSound(clip, reference, item, report));
    item.sourceTrack = SourceTrackOf(clip);
    const Json* fcp = MetadataOf(clip, "fcp_xml");
    item.isStereoHalf = fcp != nullptr && StringMember(*fcp, "@premiereChannelType") == "stereo";
    if (mappings.empty()) return;
    const Mapping& used = mappings.front();
    item.sound = used.sound;
    // The source track of an FCP 7 clip is half of a stereo clip and follows the others.
    item.sourceTrack = 0;
    for (const Mapping& other : mappings) {
        if (!Contradict(used.sound, other.sound)) continue;
        report.Add("source channels", item.place,
                   other.program + " (" + ClauseOf(other.sound) + ") contradicts " + used.program +
                       " (" + ClauseOf(used.sound) + "), which is used");
    }
}

bool IsExplodedTrack(const Json& track) {
    const Json* metadata = MetadataOf(track, "fcp_xml");
    if (metadata == nullptr) return false;
    return StringMember(*metadata, "@totalExplodedTrackCount") == "2" ||
           StringMember(*metadata, "@premiereTrackType") == "Stereo";
}

}  // namespace orlo::host::otio
