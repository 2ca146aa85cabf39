// SPDX-License-Identifier: MIT
#pragma once

#include <optional>

#include "host/json/Json.h"
#include "host/otio/ImportReport.h"
#include "host/shell/SoundText.h"

namespace orlo::host::otio {

/// The stream and the channels that metadata.sonrel of a clip or a track chooses.
struct SoundSetting {
    std::optional<int> stream;  ///< from 1
    std::optional<ChannelList> channels;

    bool IsEmpty() const { return !stream && !channels; }
    zrh::media::SoundChoice Choice() const;
};

/// Parses the members "stream" and "channels". A value that cannot be used is reported and ignored.
/// @param metadata  the metadata of Sonrel in a clip or a track
SoundSetting ParseSoundSetting(const Json& metadata, const SourceLocation& place,
                               ImportReport& report);

/// The setting of a clip on a track: the values of the clip, and the values of the track that it
/// leaves open.
SoundSetting Combined(const SoundSetting& clip, const SoundSetting& track);

}  // namespace orlo::host::otio
