// SPDX-License-Identifier: MIT
#include "host/otio/SoundSetting.h"

#include "host/otio/Fields.h"

namespace orlo::host::otio {

namespace {

constexpr int MAX_STREAM = 4096;

/// The list as text: from a text, a channel number, or a list of channel numbers.
std::string ListText(const Json& value) {
    if (value.IsString()) return value.AsString();
    if (const std::optional<long long> channel = value.AsInteger()) return std::to_string(*channel);
    if (!value.IsArray()) return {};
    std::string text;
    for (const Json& item : value.AsArray()) {
        const std::string place = item.IsArray() ? std::string() : ListText(item);
        if (place.empty()) return {};
        text += (text.empty() ? "" : ",") + place;
    }
    return text;
}

}  // namespace

zrh::media::SoundChoice SoundSetting::Choice() const {
    const int index = stream.value_or(1) - 1;
    return channels ? channels->In(index) : zrh::media::SoundChoice::OfStream(index);
}

SoundSetting ParseSoundSetting(const Json& metadata, const SourceLocation& place,
                               ImportReport& report) {
    SoundSetting setting;
    if (const Json* value = Member(metadata, "stream")) {
        const long long stream = value->AsInteger().value_or(0);
        if (stream >= 1 && stream <= MAX_STREAM) {
            setting.stream = static_cast<int>(stream);
        } else {
            report.Add("stream", place,
                       "it is not a number of an audio stream, from 1 to 4096, and is ignored");
        }
    }
    if (const Json* value = Member(metadata, "channels")) {
        setting.channels = ParseChannels(ListText(*value));
        if (!setting.channels) {
            report.Add("channels", place,
                       std::string("they are not ") + CHANNEL_FORMS + ", and are ignored");
        }
    }
    if (setting.stream && setting.channels && setting.channels->namesStreams) {
        report.Add("stream", place, "the channels name other audio streams; it is ignored");
        setting.stream.reset();
    }
    return setting;
}

SoundSetting Combined(const SoundSetting& clip, const SoundSetting& track) {
    SoundSetting setting = clip;
    if (!setting.channels) setting.channels = track.channels;
    if (!setting.stream) setting.stream = track.stream;
    // A clip's own stream is used whole where the track's channels name others.
    const bool fromTrack = !clip.channels && setting.channels;
    if (clip.stream && fromTrack && setting.channels->namesStreams) setting.channels.reset();
    return setting;
}

}  // namespace orlo::host::otio
