// SPDX-License-Identifier: MIT
#include "host/timeline/SoundProblem.h"

#include <vector>

#include "sonrel/media/input/MediaErrors.h"

namespace orlo::host {

namespace {

using zrh::media::ChannelPlace;
using zrh::media::MediaError;
using zrh::media::MediaInfo;
using zrh::media::MediaStreamInfo;
using zrh::media::SoundChoice;

std::string Count(int count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::vector<const MediaStreamInfo*> AudioStreams(const MediaInfo& info) {
    std::vector<const MediaStreamInfo*> streams;
    for (const MediaStreamInfo& stream : info.streams) {
        if (stream.kind == zrh::media::MediaStreamKind::Audio) streams.push_back(&stream);
    }
    return streams;
}

int AllChannels(const std::vector<const MediaStreamInfo*>& streams) {
    int channels = 0;
    for (const MediaStreamInfo* stream : streams) channels += stream->channels;
    return channels;
}

/// Empty where the file has the channel.
std::string PlaceProblem(const std::vector<const MediaStreamInfo*>& streams, ChannelPlace place) {
    const std::string no = ", and no channel " + std::to_string(place.channel);
    if (place.stream == ChannelPlace::ANY_STREAM) {
        const int channels = AllChannels(streams);
        return place.channel <= channels ? ""
                                         : "has " + Count(channels, "channel") + " in all" + no;
    }
    if (place.stream < 0) {
        return "has no sound in stream " + std::to_string(ChannelPlace::OfFile(place.stream) + 1) +
               " of the file";
    }
    if (place.stream >= static_cast<int>(streams.size())) {
        return "has " + Count(static_cast<int>(streams.size()), "audio stream") +
               ", and no audio stream " + std::to_string(place.stream + 1);
    }
    const int channels = streams[static_cast<std::size_t>(place.stream)]->channels;
    if (place.channel <= channels) return {};
    return "has " + Count(channels, "channel") + " in audio stream " +
           std::to_string(place.stream + 1) + no;
}

}  // namespace

std::string SoundProblem(const MediaInfo& info, const SoundChoice& sound) {
    SoundChoice resolved;
    const auto error = static_cast<MediaError>(zrh::media::ResolveSound(info, sound, &resolved));
    if (error != MediaError::NotAudio && error != MediaError::NoSuchChannel &&
        error != MediaError::StreamsDiffer) {
        return {};
    }
    const std::vector<const MediaStreamInfo*> streams = AudioStreams(info);
    if (streams.empty()) return "has no sound";
    for (const ChannelPlace& place : {sound.left, sound.right}) {
        std::string problem = PlaceProblem(streams, place);
        if (!problem.empty()) return problem;
    }
    if (error == MediaError::StreamsDiffer) {
        return "has different sample rates or sample formats in the audio streams of its left and "
               "right channel, which cannot be combined";
    }
    return "has channels that cannot be chosen: a choice takes the first " +
           std::to_string(SoundChoice::MAX_CHANNELS) + " channels of the first " +
           std::to_string(SoundChoice::MAX_STREAMS) + " audio streams";
}

bool IsStereoOfMono(const MediaInfo& info, const SoundChoice& sound) {
    const bool isStereo = sound.kind == SoundChoice::Kind::Channels && sound.left.channel == 1 &&
                          sound.right.channel == 2 && sound.left.stream == sound.right.stream;
    const std::vector<const MediaStreamInfo*> streams = AudioStreams(info);
    return isStereo && streams.size() == 1 && streams.front()->channels == 1;
}

}  // namespace orlo::host
