// SPDX-License-Identifier: MIT
#include "host/options/AudioFromOption.h"

#include "host/options/OptionTypes.h"

namespace orlo::host {

const char* AudioFromWord(otio::AudioFrom from) {
    switch (from) {
        case otio::AudioFrom::Audio:
            return "audio";
        case otio::AudioFrom::Video:
            return "video";
        case otio::AudioFrom::Auto:
            break;
    }
    return "auto";
}

void DeclareAudioFrom(CLI::App& command, otio::AudioFrom& from) {
    command
        .add_option("--audio-from", from,
                    "Tracks of a timeline that sound: audio, video, or auto, which is audio if "
                    "there are any (default: auto)")
        ->type_name("KIND")
        ->transform(OneOf<otio::AudioFrom>(
            {{AudioFromWord(otio::AudioFrom::Auto), otio::AudioFrom::Auto},
             {AudioFromWord(otio::AudioFrom::Audio), otio::AudioFrom::Audio},
             {AudioFromWord(otio::AudioFrom::Video), otio::AudioFrom::Video}}));
}

}  // namespace orlo::host
