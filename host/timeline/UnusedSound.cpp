// SPDX-License-Identifier: MIT
#include "host/timeline/UnusedSound.h"

#include <algorithm>

#include "host/shell/Interrupt.h"
#include "host/shell/Paths.h"
#include "host/timeline/SoundProblem.h"

namespace orlo::host {

namespace {

using zrh::media::ChannelPlace;
using zrh::media::FindStream;
using zrh::media::MediaInfo;
using zrh::media::MediaStreamKind;
using zrh::media::SoundChoice;

/// For each audio stream, whether each of its channels is used.
using Usage = std::vector<std::vector<bool>>;

/// The channel, from 0, that a downmix leaves out as the low-frequency channel although the file
/// does not declare it: any sound may be in it. -1 for other streams.
int AssumedLowFrequencyChannel(const zrh::media::MediaStreamInfo& stream) {
    if (!stream.layout.empty()) return -1;
    if (stream.channels == 3) return 2;
    return stream.channels >= 6 && stream.channels <= 8 ? 3 : -1;
}

void UseWhole(const zrh::media::MediaStreamInfo& stream, std::vector<bool>& channels) {
    const int unused = AssumedLowFrequencyChannel(stream);
    for (std::size_t channel = 0; channel < channels.size(); ++channel) {
        if (static_cast<int>(channel) != unused) channels[channel] = true;
    }
}

Usage UsageOf(const MediaInfo& info, const std::vector<SoundChoice>& used) {
    Usage usage;
    for (const zrh::media::MediaStreamInfo& stream : info.streams) {
        if (stream.kind != MediaStreamKind::Audio) continue;
        usage.emplace_back(static_cast<std::size_t>(std::clamp(stream.channels, 0, 1024)), false);
    }
    for (const SoundChoice& choice : used) {
        SoundChoice sound;
        const bool exists = zrh::media::ResolveSound(info, choice, &sound) == 0;
        if (!exists && !IsStereoOfMono(info, choice)) continue;
        const auto number = static_cast<std::size_t>(sound.left.stream);
        if (sound.kind != SoundChoice::Kind::Channels) {
            UseWhole(*FindStream(info, MediaStreamKind::Audio, number), usage.at(number));
            continue;
        }
        for (const ChannelPlace& place : {sound.left, sound.right}) {
            if (place.channel == 0) continue;
            auto& stream = usage.at(static_cast<std::size_t>(place.stream));
            stream.at(static_cast<std::size_t>(place.channel - 1)) = true;
        }
    }
    return usage;
}

/// "channel 3", "channels 3, 5 to 8". @param numbers  ascending
std::string Numbers(const std::string& noun, const std::vector<int>& numbers) {
    std::string text;
    for (std::size_t first = 0; first < numbers.size();) {
        std::size_t last = first;
        while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) ++last;
        text += (text.empty() ? "" : ", ") + std::to_string(numbers[first]);
        if (last > first) {
            text += (last == first + 1 ? ", " : " to ") + std::to_string(numbers[last]);
        }
        first = last + 1;
    }
    return noun + (numbers.size() == 1 ? " " : "s ") + text;
}

}  // namespace

std::string UnusedSound(const MediaInfo& info, const std::vector<SoundChoice>& used) {
    const Usage usage = UsageOf(info, used);
    std::vector<int> streams;
    std::vector<std::string> parts;
    std::size_t count = 0;
    for (std::size_t stream = 0; stream < usage.size(); ++stream) {
        std::vector<int> channels;
        for (std::size_t channel = 0; channel < usage[stream].size(); ++channel) {
            if (!usage[stream][channel]) channels.push_back(static_cast<int>(channel) + 1);
        }
        if (channels.empty()) continue;
        if (channels.size() == usage[stream].size()) {
            streams.push_back(static_cast<int>(stream) + 1);
            continue;
        }
        count += channels.size();
        parts.push_back(Numbers("channel", channels) + " of audio stream " +
                        std::to_string(stream + 1));
    }
    if (!streams.empty()) parts.insert(parts.begin(), Numbers("audio stream", streams));
    count += streams.size();
    std::string text;
    for (const std::string& part : parts) text += (text.empty() ? "" : " and ") + part;
    return text.empty() ? text : text + (count == 1 ? " is not used" : " are not used");
}

std::string UnusedSoundOfInput(const std::string& path, const SoundChoice& sound) {
    MediaInfo info;
    if (sound != SoundChoice() || Interrupted()) return {};
    if (zrh::media::DescribeMedia(WidePath(path), &info) != 0) return {};
    return UnusedSound(info, {sound});
}

}  // namespace orlo::host
