// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/options/GlobalOptions.h"
#include "host/output/PartialFile.h"
#include "host/shell/Outcome.h"
#include "host/shell/TemporaryFolder.h"

namespace orlo::host {

/// The name of an input that is standard input.
constexpr const char* STANDARD_INPUT = "-";

/// The inputs of a command that it cannot read in place: a media file from standard input, and
/// timelines in archives, which are unpacked when they are read.
///
/// The files and their files in the media cache are temporary: they disappear with the object.
class SpooledInput {
public:
    /// @param archives  names of the timelines in archives
    SpooledInput(const GlobalOptions& options, std::vector<std::string> archives);

    /// Reads standard input to its end.
    /// @return the path of the media file
    /// @throws UsageError for a terminal; JobError for an input that is empty, too long, or cannot
    ///         be read or stored; CommandError when the program is asked to stop
    std::string ReadStandardInput();

    /// The options with the temporary cache.
    const GlobalOptions& Options() const { return options_; }

    /// Replaces the temporary paths in the result of a command by the names of the inputs.
    Outcome WithNames(Outcome outcome) const;
    /// Does the same in a line of text.
    std::string WithNames(std::string line) const;

private:
    void ReadAll();
    void Store(std::string_view bytes);
    Json JsonWithNames(const Json& value) const;

    TemporaryFolder folder_;
    GlobalOptions options_;
    std::optional<PartialFile> file_;
    std::vector<std::pair<std::string, std::string>> names_;  ///< temporary path and input
};

/// Runs a command. An input "-" is replaced by the path of a file with the bytes of standard input.
/// @param inputs  of the command; changed
/// @param run     runs the command with these options
/// @throws as in SpooledInput and run
Outcome RunWithSpooledInput(const GlobalOptions& global, const std::vector<std::string*>& inputs,
                            const std::function<Outcome(const GlobalOptions&)>& run);

/// Refuses a timeline in an archive next to other inputs, for a command that keeps its files in the
/// cache: the files of the archive are temporary. @throws UsageError
void RequireOneCache(const GlobalOptions& global, const std::vector<std::string>& inputs);

/// Adds a note to the result of a command whose files in the cache are temporary.
void NoteTemporaryFiles(const GlobalOptions& global, Outcome& outcome);

}  // namespace orlo::host
