// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>

namespace orlo::host {

/// Exit code of the program.
enum class ExitCode : int {
    Done = 0,
    JobFailed = 1,
    WrongUsage = 2,
    ConditionFailed = 3,  ///< a condition that the command line states does not hold
    Interrupted = 130,
};

/// Ends a command. The text is a clause with the failure, the file, the place in it and the remedy.
class CommandError : public std::runtime_error {
public:
    CommandError(ExitCode code, const std::string& text) : std::runtime_error(text), code_(code) {}

    ExitCode Code() const { return code_; }

private:
    ExitCode code_;
};

/// The job cannot be done.
class JobError : public CommandError {
public:
    explicit JobError(const std::string& text) : CommandError(ExitCode::JobFailed, text) {}
};

/// A condition that the command line states does not hold.
class ConditionError : public CommandError {
public:
    explicit ConditionError(const std::string& text)
        : CommandError(ExitCode::ConditionFailed, text) {}
};

/// The command line is invalid.
class UsageError : public CommandError {
public:
    explicit UsageError(const std::string& text) : CommandError(ExitCode::WrongUsage, text) {}
};

}  // namespace orlo::host
