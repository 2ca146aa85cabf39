// SPDX-License-Identifier: MIT
#include "host/info/InfoOptions.h"

#include "host/options/OptionTypes.h"

namespace orlo::host {

void DeclareInfoOptions(CLI::App& command, InfoOptions& options) {
    DeclareInput(command, options.input, "Timeline or media file");
    DeclareAudioFrom(command, options.audioFrom);
    DeclareStrict(command, options.strict);
}

}  // namespace orlo::host
