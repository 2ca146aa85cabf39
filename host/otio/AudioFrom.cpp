// SPDX-License-Identifier: MIT
#include "host/otio/AudioFrom.h"

#include <algorithm>

#include "host/otio/Fields.h"
#include "host/shell/Text.h"

namespace orlo::host::otio {

Track::Kind KindOfTrack(const Json& track) {
    const std::string kind = LowerCase(StringMember(track, "kind"));
    if (kind == "audio") return Track::Kind::Audio;
    return kind == "video" || kind.empty() ? Track::Kind::Video : Track::Kind::Other;
}

bool HasAudioTrack(const Json::Items& children) {
    return std::any_of(children.begin(), children.end(), [](const Json& child) {
        return SchemaName(child) == "Track" && KindOfTrack(child) == Track::Kind::Audio;
    });
}

SoundRule MakeSoundRule(AudioFrom from, bool hasAudioTrack) {
    const bool isVideo = from == AudioFrom::Video || (from == AudioFrom::Auto && !hasAudioTrack);
    return {from, isVideo ? Track::Kind::Video : Track::Kind::Audio};
}

SoundRule RuleOfStack(const Json::Items& children, AudioFrom from) {
    return MakeSoundRule(from, HasAudioTrack(children));
}

void NoteSilentPicture(const SourceLocation& place, ImportReport& report) {
    report.Add("clip on a video track", place, "its media has no sound", Severity::Note);
}

}  // namespace orlo::host::otio
