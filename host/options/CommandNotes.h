// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}  // namespace CLI

/// Notes of a command: its examples, its exit codes and other lists. The help of the command ends
/// with them, and its manual page contains them.
namespace orlo::host {

/// A line of a list and its meaning: a command line and its purpose, an exit code and its reasons.
struct Note {
    std::string text;     ///< without two blanks in succession
    std::string meaning;  ///< not empty
};

struct NoteList {
    std::string title;
    std::vector<Note> notes;
};

constexpr const char* EXAMPLES = "Examples";
constexpr const char* EXIT_CODES = "Exit codes";

/// Appends a list to the end of a command's help.
void AddNotes(CLI::App& command, const std::string& title, const std::vector<Note>& notes);

/// The lists that AddNotes has appended.
std::vector<NoteList> NotesOf(const CLI::App& command);

}  // namespace orlo::host
