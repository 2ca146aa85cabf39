// SPDX-License-Identifier: MIT
#include "host/report/ReportOptions.h"

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
}

}  // namespace orlo::host
