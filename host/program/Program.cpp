// SPDX-License-Identifier: MIT
#include "host/program/Program.h"

#include <cstdio>
#include <exception>
#include <new>
#include <system_error>
#include <variant>

#include "host/process/SystemLimits.h"
#include "host/program/CommandLineParser.h"
#include "host/shell/Outcome.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

Outcome Failed(ExitCode code, const std::string& clause) {
    Outcome outcome;
    outcome.Fail(code, clause);
    return outcome;
}

Outcome Run(int argumentCount, const char* const* arguments) {
    try {
        const auto parsed = ParseCommandLine(argumentCount, arguments);
        if (const HelpText* help = std::get_if<HelpText>(&parsed)) {
            Outcome outcome;
            outcome.text = help->text;
            outcome.report["help"] = help->text;
            return outcome;
        }
        RequireMemory();
        const CommandLine& line = std::get<CommandLine>(parsed);
        return line.run(line.global);
    } catch (const CommandError& error) {
        return Failed(error.Code(), error.what());
    } catch (const std::bad_alloc&) {
        return Failed(ExitCode::JobFailed,
                      "there is not enough memory for the job; allow more (ulimit -v)");
    } catch (const std::system_error& error) {
        return Failed(ExitCode::JobFailed, SystemErrorText(error));
    } catch (const std::exception& error) {
        return Failed(ExitCode::JobFailed, error.what());
    }
}

/// @return false when the stream does not accept the text
bool PrintResult(const Outcome& outcome, bool json) {
    std::FILE* const stream = outcome.textToStandardError ? stderr : stdout;
    std::string text = outcome.text;
    if (json) text = outcome.report.ToIndentedText() + "\n";
    return std::fwrite(text.data(), 1, text.size(), stream) == text.size() &&
           std::fflush(stream) == 0;
}

}  // namespace

int RunProgram(int argumentCount, const char* const* arguments) {
    Outcome outcome = Run(argumentCount, arguments);
    if (!PrintResult(outcome, WantsJson(argumentCount, arguments)) &&
        outcome.code == ExitCode::Done) {
        outcome.Fail(ExitCode::JobFailed, "the result cannot be written to standard output");
    }
    if (outcome.code != ExitCode::Done) {
        const std::string line = "sonrel: " + OneLine(outcome.error) + "\n";
        std::fputs(line.c_str(), stderr);
    }
    return static_cast<int>(outcome.code);
}

}  // namespace orlo::host
