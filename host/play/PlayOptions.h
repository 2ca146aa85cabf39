// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/options/AudioFromOption.h"
#include "host/options/DitherChoice.h"
#include "host/options/SoundOptions.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

struct PlayOptions {
    std::string input;
    std::string from;
    otio::AudioFrom audioFrom = otio::AudioFrom::Auto;
    SoundOptions sound;  ///< of a media file
    bool reverse = false;
    int speed = 1;
    bool meters = false;
    bool events = false;
    std::string output = "sdl";  ///< sdl, null or a file
    int bufferMs = 0;            ///< buffer of the sound device; 0 is the library's default
    DitherChoice dither = DitherChoice::HighPass;
    unsigned int seed = 1;  ///< 0 takes a seed from the clock
    bool strict = false;
    bool overwrite = false;  ///< whether write-protected files may be replaced
};

void DeclarePlayOptions(CLI::App& command, PlayOptions& options);

}  // namespace orlo::host
