// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/options/CommandNotes.h"

namespace orlo::host {

/// The values of an option that a shell completes.
enum class ValueKind { Text, File, Folder };

/// An option or an argument of a command.
struct OptionInfo {
    std::vector<std::string> names;  ///< "--cache", "-o"; of an argument: "INPUT"
    std::string value;               ///< form of the value: "FILE.wav"; empty for a flag
    std::vector<std::string> words;  ///< values that are words
    ValueKind kind = ValueKind::Text;
    std::string description;
    bool isRequired = false;
    bool isRepeated = false;
};

/// A command of the program, or the program itself.
struct CommandInfo {
    std::vector<std::string> path;  ///< "cache", "clean"; empty for the program
    std::string description;
    std::vector<OptionInfo> options;
    std::vector<OptionInfo> arguments;
    std::vector<NoteList> notes;
    std::vector<CommandInfo> commands;
};

/// "cache clean". @param separator  between the words
std::string PathText(const CommandInfo& command, const std::string& separator = " ");

/// The command line of the program, as its parser declares it.
///
/// A value is a file if the form of the value contains FILE, OUT or INPUT, and a folder if it
/// contains DIR or FOLDER. Words are the values of OneOf, and the parts of a form with bars that
/// are in lower case, "auto|N". An argument without words is a file.
CommandInfo DescribeProgram();

}  // namespace orlo::host
