// SPDX-License-Identifier: MIT
#pragma once

#include "host/otio/Timeline.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

/// Declares --audio-from.
/// The word of a choice on the command line.
const char* AudioFromWord(otio::AudioFrom from);

void DeclareAudioFrom(CLI::App& command, otio::AudioFrom& from);

}  // namespace orlo::host
