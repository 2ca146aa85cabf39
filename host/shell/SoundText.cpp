// SPDX-License-Identifier: MIT
#include "host/shell/SoundText.h"

#include "host/shell/Text.h"

namespace orlo::host {

namespace {

using zrh::media::ChannelPlace;
using zrh::media::SoundChoice;
using Kind = SoundChoice::Kind;

std::optional<int> Number(std::string_view text, int min, int max) {
    const std::optional<long long> value = ParseInteger(text);
    if (!value || *value < min || *value > max) return std::nullopt;
    return static_cast<int>(*value);
}

/// Parses "3" or "2:3". @param namesStreams  set where the text names a stream
std::optional<ChannelPlace> ParsePlace(std::string_view text, bool* namesStreams) {
    ChannelPlace place;
    const std::size_t colon = text.find(':');
    if (colon != std::string_view::npos) {
        const std::optional<int> stream =
            Number(text.substr(0, colon), 1, SoundChoice::MAX_STREAMS);
        if (!stream) return std::nullopt;
        place.stream = *stream - 1;
        *namesStreams = true;
        text.remove_prefix(colon + 1);
    }
    const std::optional<int> channel = Number(text, 0, SoundChoice::MAX_CHANNELS);
    if (!channel) return std::nullopt;
    place.channel = *channel;
    return place;
}

std::string PlaceText(ChannelPlace place, bool withStream) {
    std::string channel = std::to_string(place.channel);
    if (!withStream || place.channel == 0) return channel;
    return std::to_string(place.stream + 1) + ":" + channel;
}

std::string StreamClause(int stream) {
    if (stream < 0)
        return "stream " + std::to_string(ChannelPlace::OfFile(stream) + 1) + " of the file";
    return "audio stream " + std::to_string(stream + 1);
}

/// "channel 3", after the stream unless it is the first.
std::string PlaceClause(ChannelPlace place, bool alwaysWithStream) {
    std::string channel = "channel " + std::to_string(place.channel);
    if (place.stream == ChannelPlace::ANY_STREAM) return channel + " of all streams";
    if (place.stream == 0 && !alwaysWithStream) return channel;
    return StreamClause(place.stream) + ", " + channel;
}

std::string PairClause(const SoundChoice& sound) {
    if (sound.right.channel == 0) return PlaceClause(sound.left, false) + " on the left";
    if (sound.left.channel == 0) return PlaceClause(sound.right, false) + " on the right";
    if (sound.left.stream != sound.right.stream) {
        return PlaceClause(sound.left, true) + " and " + PlaceClause(sound.right, true);
    }
    std::string text = "channels " + std::to_string(sound.left.channel) + " and " +
                       std::to_string(sound.right.channel);
    if (sound.left.stream == ChannelPlace::ANY_STREAM) return text + " of all streams";
    return sound.left.stream == 0 ? text : StreamClause(sound.left.stream) + ", " + text;
}

}  // namespace

SoundChoice ChannelList::In(int stream) const {
    if (namesStreams) return sound;
    SoundChoice placed = sound;
    placed.left.stream = stream;
    placed.right.stream = stream;
    return placed;
}

std::optional<ChannelList> ParseChannels(std::string_view text) {
    if (text == "downmix") return ChannelList{SoundChoice::OfDownmix(0), false};
    ChannelList list;
    const bool saysMono = text.starts_with("mono:");
    if (saysMono) text.remove_prefix(5);
    const std::size_t comma = text.find(',');
    const std::optional<ChannelPlace> left = ParsePlace(text.substr(0, comma), &list.namesStreams);
    std::optional<ChannelPlace> right = left;
    if (comma != std::string_view::npos) {
        bool rightNamesStream = false;
        right = ParsePlace(text.substr(comma + 1), &rightNamesStream);
        // "1,2:1" would leave the stream of the first channel open.
        if (saysMono || rightNamesStream != list.namesStreams) return std::nullopt;
    }
    if (!left || !right || (left->channel == 0 && right->channel == 0)) return std::nullopt;
    list.sound = SoundChoice::OfChannels(*left, *right);
    return list;
}

std::string ChannelsText(const SoundChoice& sound) {
    if (sound.kind == Kind::Stream) return {};
    if (sound.kind == Kind::Downmix) return "downmix";
    if (sound.IsMono()) return PlaceText(sound.left, false);
    const bool areTwo = sound.left.stream != sound.right.stream && sound.left.channel > 0 &&
                        sound.right.channel > 0;
    return PlaceText(sound.left, areTwo) + "," + PlaceText(sound.right, areTwo);
}

Json StreamJson(const SoundChoice& sound) {
    const int stream = sound.Stream();
    return stream < 0 ? Json() : Json(stream);
}

std::string SoundText(const SoundChoice& sound) {
    if (sound.kind == Kind::Channels) {
        return sound.IsMono() ? PlaceClause(sound.left, false) : PairClause(sound);
    }
    std::string text = sound.left.stream == 0 ? std::string() : StreamClause(sound.left.stream);
    if (sound.kind == Kind::Downmix) text += text.empty() ? "downmix" : ", downmix";
    return text;
}

std::string ClauseOf(const SoundChoice& sound) {
    const std::string text = SoundText(sound);
    return text.empty() ? StreamClause(sound.Stream()) : text;
}

std::string SoundSuffix(const SoundChoice& sound) {
    const std::string text = SoundText(sound);
    return text.empty() ? text : " (" + text + ")";
}

}  // namespace orlo::host
