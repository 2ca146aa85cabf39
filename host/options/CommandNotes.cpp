// SPDX-License-Identifier: MIT
#include "host/options/CommandNotes.h"

#include <CLI/App.hpp>
#include <sstream>

namespace orlo::host {

namespace {

constexpr std::size_t COLUMN = 30;  // of the meanings, as in the lists of options

std::string LineOf(const Note& note) {
    std::string line = "  " + note.text;
    line += line.size() + 2 > COLUMN ? "\n" + std::string(COLUMN, ' ')
                                     : std::string(COLUMN - line.size(), ' ');
    return line + note.meaning + "\n";
}

/// Adds a line of LineOf to a list.
void AddLine(const std::string& line, NoteList& list) {
    const std::size_t first = line.find_first_not_of(' ');
    if (first == COLUMN) {
        list.notes.back().meaning = line.substr(first);
        return;
    }
    const std::size_t end = line.find("  ", first);
    list.notes.push_back({line.substr(first, end - first), ""});
    if (end != std::string::npos) {
        list.notes.back().meaning = line.substr(line.find_first_not_of(' ', end));
    }
}

}  // namespace

void AddNotes(CLI::App& command, const std::string& title, const std::vector<Note>& notes) {
    std::string text = command.get_footer();
    if (!text.empty()) text += "\n";
    text += title + ":\n";
    for (const Note& note : notes) text += LineOf(note);
    command.footer(text);
}

std::vector<NoteList> NotesOf(const CLI::App& command) {
    std::vector<NoteList> lists;
    std::istringstream lines(command.get_footer());
    for (std::string line; std::getline(lines, line);) {
        if (line.empty()) continue;
        if (line.front() == ' ' && !lists.empty()) {
            AddLine(line, lists.back());
        } else {
            lists.push_back({line.substr(0, line.find_last_not_of(':') + 1), {}});
        }
    }
    return lists;
}

}  // namespace orlo::host
