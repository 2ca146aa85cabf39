// SPDX-License-Identifier: MIT
#include <optional>

#include "sonrel/media/MediaInfo.h"
#include "sonrel/media/input/MediaErrors.h"

namespace zrh::media {
namespace {

using Kind = SoundChoice::Kind;

const MediaStreamInfo* AudioInfo(const MediaInfo& info, int index) {
    return FindStream(info, MediaStreamKind::Audio, static_cast<unsigned long long>(index));
}

/// The place of a channel that is counted through all audio streams.
std::optional<ChannelPlace> PlaceOf(const MediaInfo& info, int channel) {
    int stream = 0;
    for (const MediaStreamInfo& candidate : info.streams) {
        if (candidate.kind != MediaStreamKind::Audio) continue;
        if (channel <= candidate.channels) return ChannelPlace{stream, channel};
        channel -= candidate.channels;
        ++stream;
    }
    return std::nullopt;
}

/// The index among the audio streams of a stream of any kind; -1 when it is not an audio stream.
int AudioIndexOf(const MediaInfo& info, int fileIndex) {
    const auto count = static_cast<int>(info.streams.size());
    if (fileIndex >= count) return -1;
    int audio = -1;
    for (int i = 0; i <= fileIndex; ++i) {
        const MediaStreamKind kind = info.streams[static_cast<std::size_t>(i)].kind;
        if (kind == MediaStreamKind::Audio) ++audio;
        if (i == fileIndex && kind != MediaStreamKind::Audio) return -1;
    }
    return audio;
}

/// Finds the audio stream of a side and checks its channel.
MediaError ResolveSide(const MediaInfo& info, ChannelPlace* place) {
    if (place->channel == 0) {
        place->stream = 0;
        return MediaError::None;
    }
    if (place->stream == ChannelPlace::ANY_STREAM) {
        const std::optional<ChannelPlace> found = PlaceOf(info, place->channel);
        if (!found) return MediaError::NoSuchChannel;
        *place = *found;
    } else if (place->stream < 0) {
        place->stream = AudioIndexOf(info, ChannelPlace::OfFile(place->stream));
        if (place->stream < 0) return MediaError::NotAudio;
    }
    const MediaStreamInfo* stream = AudioInfo(info, place->stream);
    if (stream == nullptr) return MediaError::NotAudio;
    if (stream->error != 0) return static_cast<MediaError>(stream->error);
    const bool exists = place->channel <= stream->channels &&
                        place->channel <= SoundChoice::MAX_CHANNELS &&
                        place->stream < SoundChoice::MAX_STREAMS;
    return exists ? MediaError::None : MediaError::NoSuchChannel;
}

bool HaveEqualFormats(const MediaStreamInfo& a, const MediaStreamInfo& b) {
    return a.sampleRate == b.sampleRate && a.bitsPerSample == b.bitsPerSample &&
           a.dataType == b.dataType;
}

MediaError ResolveChannels(const MediaInfo& info, SoundChoice* sound) {
    for (ChannelPlace* side : {&sound->left, &sound->right}) {
        const MediaError error = ResolveSide(info, side);
        if (error != MediaError::None) return error;
    }
    const bool areTwo = sound->left.channel > 0 && sound->right.channel > 0;
    if (!areTwo) return sound->left == sound->right ? MediaError::NoSuchChannel : MediaError::None;
    const MediaStreamInfo& left = *AudioInfo(info, sound->left.stream);
    const MediaStreamInfo& right = *AudioInfo(info, sound->right.stream);
    if (!HaveEqualFormats(left, right)) return MediaError::StreamsDiffer;
    const bool isWhole =
        &left == &right && sound->left.channel == 1 && sound->right.channel == left.channels;
    if (isWhole && left.channels <= 2) *sound = SoundChoice::OfStream(sound->left.stream);
    return MediaError::None;
}

MediaError Resolve(const MediaInfo& info, SoundChoice* sound) {
    if (sound->kind == Kind::Channels) return ResolveChannels(info, sound);
    const MediaStreamInfo* stream = AudioInfo(info, sound->left.stream);
    if (stream == nullptr) return MediaError::NotAudio;
    if (stream->error != 0) return static_cast<MediaError>(stream->error);
    if (sound->kind == Kind::Stream) return MediaError::None;
    if (stream->channels <= 2) *sound = SoundChoice::OfStream(sound->left.stream);
    const bool fits = sound->left.stream < SoundChoice::MAX_STREAMS;
    return fits || sound->IsWholeStream() ? MediaError::None : MediaError::NotAudio;
}

}  // namespace

int ResolveSound(const MediaInfo& info, const SoundChoice& choice, SoundChoice* resolved) {
    SoundChoice sound = choice;
    const MediaError error = Resolve(info, &sound);
    if (error == MediaError::None) *resolved = sound;
    return static_cast<int>(error);
}

}  // namespace zrh::media
