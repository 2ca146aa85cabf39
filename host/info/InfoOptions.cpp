// SPDX-License-Identifier: MIT
#include "host/info/InfoOptions.h"

#include "host/options/CommandNotes.h"
#include "host/options/OptionTypes.h"

namespace orlo::host {

void DeclareInfoOptions(CLI::App& command, InfoOptions& options) {
    DeclareInput(command, options.input, "Timeline or media file");
    DeclareAudioFrom(command, options.audioFrom);
    DeclareStrict(command, options.strict);
    AddNotes(command, EXAMPLES,
             {{"sonrel info recording.mp4", "List the streams of a media file"},
              {"sonrel info edit.otio --json", "Describe a timeline for another program"}});
    AddNotes(command, EXIT_CODES,
             {{"3", "A media file is missing, or --strict finds a part that is left out"}});
}

}  // namespace orlo::host
