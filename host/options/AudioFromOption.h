// SPDX-License-Identifier: MIT
#pragma once

#include "host/otio/Timeline.h"

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

/// Declares --audio-from.
void DeclareAudioFrom(CLI::App& command, otio::AudioFrom& from);

}  // namespace orlo::host
