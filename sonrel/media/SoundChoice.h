// SPDX-License-Identifier: MIT
#pragma once

#include <compare>

namespace zrh::media {

/// A channel of a media file.
struct ChannelPlace {
    /// In place of a stream: the channel number counts the channels of all audio streams, in file
    /// order.
    static constexpr int ANY_STREAM = -1;
    /// In place of a stream: a stream by its index among all streams of the file, from 0, pictures
    /// included.
    static constexpr int OfFile(int index) { return -2 - index; }

    int stream = 0;   ///< index among the audio streams, from 0; or one of the above
    int channel = 0;  ///< from 1; 0 is silence

    auto operator<=>(const ChannelPlace&) const = default;
};

/// The sound of a media file that an asset uses: a whole stream, or two channels for left and
/// right.
///
/// A choice has a number for MediaAsset::SetAudioStreamIndex, which is a part of the key of cache
/// files. The number of a whole stream is its index. The number of any other choice is at least
/// 2^30 and fits into 31 bits.
struct SoundChoice {
    enum class Kind /** The kind of a choice. */ {
        Stream,    ///< left.stream; a conformed file mixes more than two channels down
        Channels,  ///< the two channels; equal places are one channel for both sides
        Downmix    ///< all channels of left.stream, mixed to two in a peak file too
    };

    static constexpr int MAX_STREAMS = 256;  ///< in a choice of channels
    static constexpr int MAX_CHANNELS = 64;  ///< in a choice of channels

    Kind kind = Kind::Stream;  ///< a whole stream by default
    ChannelPlace left;         ///< has the stream of a whole stream
    ChannelPlace right;        ///< as left for a whole stream
    /// The choice of a whole stream.
    static SoundChoice OfStream(int stream) { return {Kind::Stream, {stream, 0}, {stream, 0}}; }
    static SoundChoice OfChannels(ChannelPlace left, ChannelPlace right) {
        return {Kind::Channels, left, right};
    }  ///< the choice of two channels
    static SoundChoice OfDownmix(int stream) { return {Kind::Downmix, {stream, 0}, {stream, 0}}; }
    ///< The choice of all channels of a stream, mixed down.
    bool IsWholeStream() const { return kind == Kind::Stream; }  ///< not a choice of channels
    /// One channel for both sides.
    bool IsMono() const { return kind == Kind::Channels && left == right; }
    /// The stream of the first side that is not silent.
    int Stream() const {
        return kind == Kind::Channels && left.channel == 0 ? right.stream : left.stream;
    }

    /// Whether the index of an asset is the number of a choice other than a whole stream.
    static bool IsNumber(unsigned long long index) { return index >> CHOICE_BIT == 1; }
    /// The number of the choice. Its streams are audio streams, below MAX_STREAMS unless it is a
    /// whole stream.
    unsigned long long Number() const {
        if (kind == Kind::Stream) return static_cast<unsigned long long>(left.stream);
        if (kind == Kind::Downmix) {
            const unsigned long long side = Packed({left.stream, ALL_CHANNELS});
            return 1ull << CHOICE_BIT | side << SIDE_BITS | side;
        }
        return 1ull << CHOICE_BIT | Packed(left) << SIDE_BITS | Packed(right);
    }
    /// The choice with a number.
    static SoundChoice FromNumber(unsigned long long number) {
        if (!IsNumber(number)) return OfStream(static_cast<int>(number));
        const ChannelPlace left = Unpacked(number >> SIDE_BITS);
        if (left.channel == ALL_CHANNELS) return OfDownmix(left.stream);
        return OfChannels(left, Unpacked(number));
    }

    auto operator<=>(const SoundChoice&) const = default;

private:
    // The number: bit 30 set, then 8 bits for the stream and 7 for the channel of the left side,
    // then the same of the right side.
    static constexpr int CHOICE_BIT = 30;
    static constexpr int CHANNEL_BITS = 7;
    static constexpr int SIDE_BITS = 15;
    static constexpr int ALL_CHANNELS = 127;

    static unsigned long long Packed(ChannelPlace place) {
        // A silent side has no stream, so that equal sounds have equal numbers.
        if (place.channel == 0) return 0;
        return static_cast<unsigned long long>(place.stream) << CHANNEL_BITS |
               static_cast<unsigned long long>(place.channel);
    }
    static ChannelPlace Unpacked(unsigned long long bits) {
        return {static_cast<int>(bits >> CHANNEL_BITS & 0xFFu), static_cast<int>(bits & 0x7Fu)};
    }
};

}  // namespace zrh::media
