// SPDX-License-Identifier: MIT
#include "host/manual/ManualPage.h"

#include <algorithm>
#include <cctype>

namespace orlo::host {

namespace {

std::string UpperCase(std::string text) {
    for (char& letter : text) letter = static_cast<char>(std::toupper(letter));
    return text;
}

/// A description within a sentence: "Mix to a file" becomes "mix to a file".
std::string LowerStart(std::string text) {
    if (!text.empty()) text[0] = static_cast<char>(std::tolower(text[0]));
    return text;
}

std::string Bold(const std::string& text) {
    return "\\fB" + RoffText(text) + "\\fR";
}

std::string Italic(const std::string& text) {
    return "\\fI" + RoffText(text) + "\\fR";
}

/// The value of an option: its words, or its form.
std::string ValueText(const OptionInfo& option) {
    if (option.words.empty() || option.value.find('|') != std::string::npos) {
        return Italic(option.value);
    }
    std::string text;
    for (const std::string& word : option.words) text += (text.empty() ? "" : "|") + Bold(word);
    return text;
}

/// The names of an option with its value.
std::string HeadOf(const OptionInfo& option) {
    std::string text;
    for (const std::string& name : option.names) {
        text += (text.empty() ? "" : ", ") + Bold(name);
        if (!option.value.empty()) text += " " + ValueText(option);
    }
    return text;
}

/// A place in the synopsis for each argument.
std::string ArgumentText(const OptionInfo& argument) {
    std::string text;
    if (argument.words.empty()) {
        text = Italic(argument.names.front());
    } else {
        text = ValueText(argument);
    }
    return argument.isRepeated ? text + " ..." : text;
}

std::string Title(const std::string& name, const std::string& version) {
    return ".\\\" Generated from the command line of the program.\n.TH " +
           RoffText(UpperCase(name)) + " 1 \"\" \"sonrel " + version + "\" \"User Commands\"\n";
}

std::string Section(const std::string& title) {
    return ".SH " + UpperCase(title) + "\n";
}

std::string Entry(const std::string& head, const std::string& text) {
    return ".TP\n" + head + "\n" + RoffText(text) + "\n";
}

/// Help is an option of every command, and is described with the options of the program.
std::string EntryOf(const OptionInfo& option, bool isProgram = false) {
    if (!isProgram && option.names.front() == "--help") return {};
    const std::string end = option.isRequired ? " (required)" : "";
    return Entry(HeadOf(option), option.description + end + ".");
}

std::string SynopsisOf(const CommandInfo& command) {
    std::string text = Bold("sonrel " + PathText(command)) + " [" + Italic("OPTION") + " ...]";
    for (const OptionInfo& argument : command.arguments) text += " " + ArgumentText(argument);
    for (const OptionInfo& option : command.options) {
        if (option.isRequired) text += " " + HeadOf(option);
    }
    return text + "\n";
}

/// The notes of a list, without a list an empty list.
std::vector<Note> NotesWithTitle(const CommandInfo& command, const std::string& title) {
    for (const NoteList& list : command.notes) {
        if (list.title == title) return list.notes;
    }
    return {};
}

/// The exit codes of the program. Codes of the command replace codes with the same number.
std::vector<Note> ExitCodes(const CommandInfo& program, const CommandInfo& command) {
    std::vector<Note> codes = NotesWithTitle(program, EXIT_CODES);
    for (const Note& own : NotesWithTitle(command, EXIT_CODES)) {
        const auto general = std::find_if(codes.begin(), codes.end(),
                                          [&](const Note& code) { return code.text == own.text; });
        if (general == codes.end()) {
            codes.push_back(own);
        } else {
            general->meaning = own.meaning;
        }
    }
    return codes;
}

std::string ListText(const std::string& title, const std::vector<Note>& notes) {
    if (notes.empty()) return {};
    std::string text = Section(title);
    for (const Note& note : notes) text += Entry(Bold(note.text), note.meaning + ".");
    return text;
}

/// The options of a command and of the commands below it.
std::string OptionsText(const CommandInfo& command, const std::string& title) {
    std::string text = command.commands.empty() ? Section(title) : "";
    for (const OptionInfo& argument : command.arguments) {
        text += Entry(ArgumentText(argument), argument.description + ".");
    }
    for (const OptionInfo& option : command.options) {
        if (command.commands.empty()) text += EntryOf(option);
    }
    for (const CommandInfo& below : command.commands) {
        text += Section("options of " + PathText(below));
        text += RoffText(below.description) + ".\n";
        for (const OptionInfo& option : below.options) text += EntryOf(option);
    }
    return text;
}

/// All lists of notes, except the lists that every page has in a separate section.
std::string OtherLists(const CommandInfo& command) {
    std::string text;
    for (const NoteList& list : command.notes) {
        if (list.title != EXAMPLES && list.title != EXIT_CODES && list.title != "Environment") {
            text += ListText(list.title, list.notes);
        }
    }
    return text;
}

/// The sections at the end of each page.
std::string EndText(const CommandInfo& program, const CommandInfo& command) {
    return ListText("examples", NotesWithTitle(command, EXAMPLES)) +
           ListText("environment", NotesWithTitle(program, "Environment")) +
           ListText("exit status", ExitCodes(program, command));
}

std::string Reference(const std::string& page) {
    return ".BR " + RoffText(page) + " (1)";
}

}  // namespace

std::string RoffText(const std::string& text) {
    std::string roff;
    for (const char letter : text) {
        const bool isStart = roff.empty() || roff.back() == '\n';
        if (isStart && (letter == '.' || letter == '\'')) roff += "\\&";
        if (letter == '\\') {
            roff += "\\e";
        } else if (letter == '-') {
            roff += "\\-";
        } else if (letter == '\'') {
            roff += "\\(aq";
        } else {
            roff += letter;
        }
    }
    return roff;
}

std::string ProgramPage(const CommandInfo& program, const std::string& version) {
    std::string text = Title("sonrel", version) + Section("name") + "sonrel \\- " +
                       RoffText(LowerStart(program.description)) + "\n" + Section("synopsis") +
                       Bold("sonrel") + " [" + Italic("GLOBAL OPTION") + " ...] " +
                       Italic("COMMAND") + " ...\n" + Section("commands");
    for (const CommandInfo& command : program.commands) {
        text += Entry(Bold(PathText(command)), command.description + ".");
    }
    text += Section("global options") + "They may be given before or after the command.\n";
    for (const OptionInfo& option : program.options) text += EntryOf(option, true);
    text += OtherLists(program) + EndText(program, program) + Section("see also");
    for (const CommandInfo& command : program.commands) {
        const bool isLast = &command == &program.commands.back();
        text += Reference("sonrel-" + PathText(command)) + (isLast ? "\n" : " ,\n");
    }
    return text;
}

std::string CommandPage(const CommandInfo& program, const CommandInfo& command,
                        const std::string& version) {
    const std::string name = "sonrel-" + PathText(command, "-");
    std::string text = Title(name, version) + Section("name") + RoffText(name) + " \\- " +
                       RoffText(LowerStart(command.description)) + "\n" + Section("synopsis");
    if (command.commands.empty()) text += SynopsisOf(command);
    for (const CommandInfo& below : command.commands) {
        text += SynopsisOf(below);
        if (&below != &command.commands.back()) text += ".br\n";
    }
    text += OptionsText(command, "options") + Section("global options") +
            "The options of all commands are listed in\n" + Reference("sonrel") + " .\n" +
            OtherLists(command) + EndText(program, command) + Section("see also") +
            Reference("sonrel") + "\n";
    return text;
}

}  // namespace orlo::host
