// SPDX-License-Identifier: MIT
#include "host/report/ReportCommand.h"

#include <optional>

#include "host/media/InputProtection.h"
#include "host/otio/TimelinePath.h"
#include "host/output/OutputFile.h"
#include "host/output/OutputName.h"
#include "host/output/StandardOutput.h"
#include "host/report/PageMaker.h"
#include "host/report/PageWriter.h"
#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Summary.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

bool WritesToStandardOutput(const ReportOptions& options) {
    return options.output == STANDARD_OUTPUT;
}

void ClaimPage(const ReportOptions& options, OutputGuard& guard) {
    if (WritesToStandardOutput(options)) return guard.ClaimStandardOutput();
    guard.Claim(options.output);
    RequireExtension(options.output, {".html", ".htm"});
}

/// The file of a page, or standard output.
class PageOutput {
public:
    PageOutput(const ReportOptions& options, OutputGuard& guard) {
        if (!WritesToStandardOutput(options)) file_.emplace(options.output, guard);
    }

    void Write(const std::string& document) {
        if (!file_) {
            OutputStream stream = OpenStandardOutput();
            stream.Write(document);
            stream.Close();
            return;
        }
        file_->Write(document);
        file_->Seal();
        if (Interrupted()) ThrowInterrupted("nothing was written to " + Quoted(file_->Path()));
        file_->Commit();
    }

private:
    std::optional<OutputFile> file_;
};

std::unique_ptr<PageMaker> OpenPage(const GlobalOptions& global, const ReportOptions& options) {
    return otio::IsTimelinePath(options.input) ? OpenTimelinePage(global, options)
                                               : OpenMediaPage(global, options);
}

std::string HeadText(const ReportOptions& options, const ReportPage& page, std::size_t bytes) {
    const std::string name =
        WritesToStandardOutput(options) ? "standard output" : OneLine(options.output);
    std::string text = name + ": " + FormatDuration(page.duration) + ", " +
                       Counted(static_cast<long long>(page.lanes.size()), "lane") + ", " +
                       Counted(static_cast<long long>(bytes), "byte") + "\n";
    for (const auto& [label, value] : page.loudness)
        text.append("  ").append(label).append(": ").append(value).append("\n");
    return text;
}

}  // namespace

Outcome RunReport(const GlobalOptions& global, const ReportOptions& options) {
    CheckSound(options.sound, {options.input});
    if (WritesToStandardOutput(options)) CheckStandardOutput(global.json, "the page");
    OutputGuard guard(options.overwrite);
    ProtectCache(global, guard);
    const std::unique_ptr<PageMaker> maker = OpenPage(global, options);
    maker->Protect(guard);
    ClaimPage(options, guard);

    PageOutput output(options, guard);
    const EngineSession session(global);
    Progress progress(global.progress, global.quiet);
    const ReportPage page = maker->Make(session, progress);
    const std::string document = PageDocument(page);
    output.Write(document);

    Outcome outcome;
    outcome.report["input"] = options.input;
    outcome.report["output"] = options.output;
    outcome.report["bytes"] = document.size();
    outcome.text = HeadText(options, page, document.size());
    maker->Report(page, outcome);
    outcome.textToStandardError = WritesToStandardOutput(options);
    return outcome;
}

}  // namespace orlo::host
