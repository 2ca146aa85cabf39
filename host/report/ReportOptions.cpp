// SPDX-License-Identifier: MIT
#include "host/report/ReportOptions.h"

#include "host/options/CommandNotes.h"
#include "host/options/OptionTypes.h"

namespace orlo::host {

void DeclareReportOptions(CLI::App& command, ReportOptions& options) {
    DeclareInput(command, options.input, "Timeline or media file");
    command.add_option("-o", options.output, "Page to write: .html or .htm")
        ->required()
        ->type_name("OUT.html")
        ->check(Name());
    command.add_option("--from", options.from, "First position (default: 0)")->type_name("P");
    command.add_option("--to", options.to, "Position after the last one (default: the end)")
        ->type_name("P");
    command.add_option("--composition", options.composition, "Show only the nested item NAME")
        ->type_name("NAME");
    DeclareAudioFrom(command, options.audioFrom);
    DeclareSound(command, options.sound);
    DeclareStrict(command, options.strict);
    DeclareOverwrite(command, options.overwrite);
    AddNotes(command, EXAMPLES,
             {{"sonrel report edit.otio -o edit.html", "Write a page that shows the timeline"},
              {"sonrel report mix.wav -o - > mix.html", "Print the page of a media file"}});
    AddNotes(command, EXIT_CODES,
             {{"3", "A media file is missing, or --strict finds a part that is left out"}});
}

}  // namespace orlo::host
