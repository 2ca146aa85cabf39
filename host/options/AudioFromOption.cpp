// SPDX-License-Identifier: MIT
#include "host/options/AudioFromOption.h"

#include "host/options/OptionTypes.h"

namespace orlo::host {

void DeclareAudioFrom(CLI::App& command, otio::AudioFrom& from) {
    command
        .add_option("--audio-from", from,
                    "Tracks of a timeline that sound: audio, video, or auto, which is audio if "
                    "there are any (default: auto)")
        ->type_name("KIND")
        ->transform(OneOf<otio::AudioFrom>({{"auto", otio::AudioFrom::Auto},
                                            {"audio", otio::AudioFrom::Audio},
                                            {"video", otio::AudioFrom::Video}}));
}

}  // namespace orlo::host
