// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/options/GlobalOptions.h"
#include "host/output/PartialFile.h"
#include "host/shell/Outcome.h"

namespace orlo::host {

/// The name of an input that is standard input.
constexpr const char* STANDARD_INPUT = "-";

/// A media file from standard input, for a command that reads it as a file.
///
/// The media file and its files in the media cache are temporary: they disappear with the object.
class SpooledInput {
public:
    /// Reads standard input to its end.
    /// @throws UsageError for a terminal; JobError for an input that is empty, too long, or cannot
    ///         be read or stored; CommandError when the program is asked to stop
    explicit SpooledInput(const GlobalOptions& options);
    ~SpooledInput();
    SpooledInput(const SpooledInput&) = delete;
    SpooledInput& operator=(const SpooledInput&) = delete;

    /// The path of the media file.
    std::string Path() const { return file_->OpenPath(); }
    /// The options with the temporary cache.
    const GlobalOptions& Options() const { return options_; }

    /// Replaces the path by "-" in a text.
    std::string WithName(std::string text) const;
    /// Replaces the path by "-" in the result of a command.
    Outcome WithName(Outcome outcome) const;

private:
    void ReadAll();
    void Remove();

    GlobalOptions options_;
    std::optional<PartialFile> file_;
};

/// Runs a command. An input "-" is replaced by the path of a file with the bytes of standard input.
/// @param inputs  of the command; changed
/// @param run     runs the command with these options
/// @throws as in SpooledInput and run
Outcome RunWithSpooledInput(const GlobalOptions& global, const std::vector<std::string*>& inputs,
                            const std::function<Outcome(const GlobalOptions&)>& run);

}  // namespace orlo::host
