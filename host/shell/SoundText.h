// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "host/json/Json.h"
#include "sonrel/media/SoundChoice.h"

/// Streams and channels of media files as text. Texts count both from 1.
namespace orlo::host {

/// Channels as --channels and metadata take them.
struct ChannelList {
    zrh::media::SoundChoice sound;
    bool namesStreams = false;  ///< the list has the form 2:1

    /// The choice in a stream, where the list names none.
    /// @param stream  from 0
    zrh::media::SoundChoice In(int stream) const;
};

/// The forms of a list of channels, for messages.
inline constexpr char CHANNEL_FORMS[] =
    "a channel like 3, left and right like 1,2 or 1:1,2:1 (stream:channel), or downmix";

/// Parses a list of channels:
///
///     3  mono:3    channel 3 on both sides
///     1,2          channel 1 on the left, channel 2 on the right; 0 is silence
///     2:1          channel 1 of audio stream 2
///     downmix      all channels
///
/// @return nullopt when the text has another form or counts beyond the limits of a choice
std::optional<ChannelList> ParseChannels(std::string_view text);

/// The list of a choice as above, with streams only when it uses two: "3", "1,2", "1:1,2:1",
/// "downmix"; empty for a whole stream.
std::string ChannelsText(const zrh::media::SoundChoice& sound);

/// The index of the choice's stream; null where channels of all streams are counted.
Json StreamJson(const zrh::media::SoundChoice& sound);

/// A clause with the stream and the channels: "audio stream 2, channels 1 and 2"; empty for the
/// whole first stream.
std::string SoundText(const zrh::media::SoundChoice& sound);

/// SoundText, with "audio stream 1" for the whole first stream.
std::string ClauseOf(const zrh::media::SoundChoice& sound);

/// SoundText in brackets after a blank, to be added to the name of a file; empty for the whole
/// first stream.
std::string SoundSuffix(const zrh::media::SoundChoice& sound);

}  // namespace orlo::host
