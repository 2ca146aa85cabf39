// SPDX-License-Identifier: MIT
#include "host/parsing/StreamEffects.h"

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/otio/Fields.h"
#include "host/parsing/SoundTarget.h"
#include "host/shell/SoundText.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

using zrh::media::ChannelPlace;
using zrh::media::SoundChoice;

/// Streams by their names. A stream of the mapping is one channel.
using Streams = std::map<std::string, ChannelPlace>;

constexpr const char* STREAM_EFFECT = "stream effect";

/// The containers whose streams are counted as channels.
bool CountsChannels(std::string_view url) {
    const std::size_t dot = url.rfind('.');
    const std::string ending = LowerCase(url.substr(std::min(dot, url.size())));
    for (const char* known : {".wav", ".wave", ".bwf", ".rf64", ".w64", ".aif", ".aiff", ".caf"}) {
        if (ending == known) return true;
    }
    return false;
}

std::optional<int> IndexMember(const Json& object, const char* key) {
    const Json* value = Member(object, key);
    const long long index = value == nullptr ? -1 : value->AsInteger().value_or(-1);
    if (index < 0 || index >= SoundChoice::MAX_STREAMS) return std::nullopt;
    return static_cast<int>(index);
}

/// @return nullopt for an address that is not a stream of sound
std::optional<ChannelPlace> PlaceOf(const Json& address, const std::string& url) {
    const std::string schema = SchemaName(address);
    if (schema == "IndexStreamAddress") {
        const std::optional<int> index = IndexMember(address, "index");
        if (!index) return std::nullopt;
        if (CountsChannels(url)) return ChannelPlace{ChannelPlace::ANY_STREAM, *index + 1};
        return ChannelPlace{ChannelPlace::OfFile(*index), 1};
    }
    if (schema != "StreamChannelIndexStreamAddress") return std::nullopt;
    const std::optional<int> stream = IndexMember(address, "stream_index");
    const std::optional<int> channel = IndexMember(address, "channel_index");
    if (!stream || !channel || *channel >= SoundChoice::MAX_CHANNELS) return std::nullopt;
    return ChannelPlace{ChannelPlace::OfFile(*stream), *channel + 1};
}

Streams AvailableStreams(const Json& reference, const Item& item, ImportReport& report) {
    Streams streams;
    const Json* available = Member(reference, "available_streams");
    if (available == nullptr || !available->IsObject()) return streams;
    const std::string url = StringMember(reference, "target_url");
    for (const auto& [name, info] : available->AsObject()) {
        if (StringMember(info, "kind") != "Audio") continue;
        const Json* address = Member(info, "address");
        const std::optional<ChannelPlace> place =
            address == nullptr ? std::nullopt : PlaceOf(*address, url);
        if (place) {
            streams[name] = *place;
        } else {
            report.Add("stream address", item.place, "it is not a number of a stream or channel");
        }
    }
    return streams;
}

Streams Selected(const Json& effect, const Streams& streams) {
    Streams selected;
    const Json* names = Member(effect, "output_streams");
    if (names == nullptr || !names->IsArray()) return streams;
    for (const Json& name : names->AsArray()) {
        const auto found = name.IsString() ? streams.find(name.AsString()) : streams.end();
        if (found != streams.end()) selected.insert(*found);
    }
    return selected;
}

Streams Renamed(const Json& effect, const Streams& streams) {
    Streams renamed;
    const Json* names = Member(effect, "stream_map");
    if (names == nullptr || !names->IsObject()) return streams;
    for (const auto& [output, input] : names->AsObject()) {
        const auto found = input.IsString() ? streams.find(input.AsString()) : streams.end();
        if (found != streams.end()) renamed[output] = found->second;
    }
    return renamed;
}

/// The streams that a matrix passes on, each at the same level.
struct MixedStreams {
    Streams streams;  ///< a stream without input has the channel 0, silence
    double gain = 1.0;
};

/// Inputs of level 0 do not count.
std::vector<Json::Member> InputsOf(const Json& inputs) {
    std::vector<Json::Member> found;
    if (!inputs.IsObject()) return found;
    for (const Json::Member& input : inputs.AsObject()) {
        if (!input.value.IsNumber() || input.value.AsNumber() != 0.0) found.push_back(input);
    }
    return found;
}

/// @return nullopt for a matrix that adds streams, inverts one or gives them different levels
std::optional<MixedStreams> Mixed(const Json& effect, const Streams& streams) {
    const Json* matrix = Member(effect, "matrix");
    if (matrix == nullptr || !matrix->IsObject()) return MixedStreams{streams, 1.0};
    MixedStreams mixed;
    std::optional<double> gain;
    for (const auto& [output, row] : matrix->AsObject()) {
        const std::vector<Json::Member> inputs = InputsOf(row);
        if (inputs.empty()) {
            mixed.streams[output] = {ChannelPlace::ANY_STREAM, 0};
            continue;
        }
        const auto stream = streams.find(inputs.front().key);
        const Json& level = inputs.front().value;
        if (inputs.size() > 1 || stream == streams.end() || !level.IsNumber()) return std::nullopt;
        if (level.AsNumber() < 0.0 || gain.value_or(level.AsNumber()) != level.AsNumber()) {
            return std::nullopt;
        }
        gain = level.AsNumber();
        mixed.streams[output] = stream->second;
    }
    if (!gain) return std::nullopt;
    mixed.gain = *gain;
    return mixed;
}

/// One stream for both sides, or the two streams with the names of left and right.
std::optional<SoundChoice> SoundOf(const Streams& streams) {
    if (streams.size() == 1) {
        const ChannelPlace only = streams.begin()->second;
        return SoundChoice::OfChannels(only, only);
    }
    const auto left = streams.find("stereo_left");
    const auto right = streams.find("stereo_right");
    if (left == streams.end() || right == streams.end()) return std::nullopt;
    return SoundChoice::OfChannels(left->second, right->second);
}

}  // namespace

bool IsStreamEffect(const std::string& schema) {
    return schema == "StreamSelector" || schema == "StreamMapper" || schema == "AudioMixMatrix";
}

std::optional<SoundChoice> StreamEffectSound(const Json& clip, const Json* reference, Item& item,
                                             ImportReport& report) {
    Streams streams;
    if (reference != nullptr) streams = AvailableStreams(*reference, item, report);
    bool isChosen = false;
    double gain = 1.0;
    for (const Json& effect : ListMember(clip, "effects", item.place)) {
        const std::string schema = SchemaName(effect);
        if (!IsStreamEffect(schema)) continue;
        if (!BoolMember(effect, "enabled", true, item.place, report)) continue;
        isChosen = true;
        if (schema == "StreamSelector") streams = Selected(effect, streams);
        if (schema == "StreamMapper") streams = Renamed(effect, streams);
        if (schema != "AudioMixMatrix") continue;
        const std::optional<MixedStreams> mixed = Mixed(effect, streams);
        if (!mixed) {
            report.Add(STREAM_EFFECT, item.place,
                       "a mix that adds streams, or gives them different levels, is not imported; "
                       "all channels of the first stream are mixed down");
            return std::nullopt;
        }
        streams = mixed->streams;
        gain *= mixed->gain;
    }
    const std::optional<SoundChoice> sound = SoundOf(streams);
    if (isChosen && !sound) {
        report.Add(STREAM_EFFECT, item.place,
                   streams.empty() ? "it chooses no stream of sound of the media; the first stream "
                                     "is used"
                                   : "it chooses several streams that are not a stereo pair; the "
                                     "first stream is used");
    }
    if (sound && gain != 1.0) AddGain(TargetOf(item), gain, report);
    return isChosen || streams.size() <= 2 ? sound : std::nullopt;
}

}  // namespace orlo::host::otio
