// SPDX-License-Identifier: MIT
#include "host/info/TakenSound.h"

#include "host/shell/SoundText.h"

namespace orlo::host {

namespace {

using zrh::media::FindStream;
using zrh::media::MediaStreamKind;
using zrh::media::SoundChoice;

/// "downmix of 6 channels"; empty for channels that are left and right of a clip.
std::string DownmixText(const zrh::media::MediaInfo& info, const SoundChoice& sound) {
    const auto* stream =
        FindStream(info, MediaStreamKind::Audio, static_cast<unsigned long long>(sound.Stream()));
    if (stream == nullptr || stream->channels <= 2) return {};
    return "downmix of " + std::to_string(stream->channels) + " channels";
}

}  // namespace

std::string TakenSound(const zrh::media::MediaInfo& info, const SoundChoice& choice) {
    SoundChoice sound;
    if (zrh::media::ResolveSound(info, choice, &sound) != 0) return SoundText(choice);
    const bool hasSeveral = FindStream(info, MediaStreamKind::Audio, 1) != nullptr;
    const bool isOfOneStream = sound.left.stream == sound.right.stream || sound.left.channel == 0 ||
                               sound.right.channel == 0;
    std::string text = hasSeveral && isOfOneStream
                           ? "audio stream " + std::to_string(sound.Stream() + 1)
                           : std::string();
    std::string part;
    if (sound.kind != SoundChoice::Kind::Channels) {
        part = DownmixText(info, sound);
    } else if (isOfOneStream) {
        part =
            SoundText(SoundChoice::OfChannels({0, sound.left.channel}, {0, sound.right.channel}));
    } else {
        part = SoundText(sound);
    }
    if (!text.empty() && !part.empty()) text += ", ";
    return text + part;
}

}  // namespace orlo::host
