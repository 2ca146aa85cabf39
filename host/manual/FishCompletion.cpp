// SPDX-License-Identifier: MIT
#include "host/manual/Completions.h"

namespace orlo::host {

namespace {

/// The path of the command on the line so far. Words that no command has end it.
constexpr char TAIL_OF_COMMAND[] = R"(
    set -l path
    set -l skip 0
    for word in (commandline -opc)[2..]
        if test $skip = 1
            set skip 0
        else if contains -- $word $values
            set skip 1
        else if not string match -q -- '-*' $word
            contains -- "$path $word" $known; or break
            set path (string trim -- "$path $word")
        end
    end
    echo $path
end

function __sonrel_is
    set -l path (__sonrel_command)
    test "$path" = "$argv[1]"
end

)";

std::string FishJoined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

/// The words of the commands as "path word" in quotes.
std::string KnownCommands(const CommandInfo& command) {
    std::string text;
    for (const CommandInfo& below : command.commands) {
        text += " " + FishQuoted(PathText(command) + " " + below.path.back());
        text += KnownCommands(below);
    }
    return text;
}

std::string NamesWithValue(const std::vector<OptionInfo>& options) {
    std::string text;
    for (const OptionInfo& option : options) {
        for (const std::string& name : option.names) text += option.value.empty() ? "" : " " + name;
    }
    return text;
}

/// The completion of a value, where names of files are not completed unless -F asks for them.
std::string ValueWords(const OptionInfo& option) {
    std::string text;
    if (!option.words.empty()) text += " -a " + FishQuoted(FishJoined(option.words));
    if (option.kind == ValueKind::File) text += " -F";
    if (option.kind == ValueKind::Folder) {
        text += " -a " + FishQuoted("(__fish_complete_directories (commandline -ct))");
    }
    return text;
}

std::string OptionLine(const OptionInfo& option, const std::string& condition) {
    std::string line = "complete -c sonrel" + condition;
    for (const std::string& name : option.names) {
        line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    }
    if (!option.value.empty()) {
        line += (option.kind == ValueKind::File ? " -r" : " -x") + ValueWords(option);
    }
    return line + " -d " + FishQuoted(option.description) + "\n";
}

std::string CommandLines(const CommandInfo& command) {
    const std::string condition = " -n " + FishQuoted("__sonrel_is \"" + PathText(command) + "\"");
    std::string text;
    for (const CommandInfo& below : command.commands) {
        text += "complete -c sonrel" + condition + " -a " + below.path.back() + " -d " +
                FishQuoted(below.description) + "\n" + CommandLines(below);
    }
    for (const OptionInfo& option : command.options) {
        if (command.path.empty()) {
            text += OptionLine(option, "");
        } else if (option.names.front() != "--help") {
            text += OptionLine(option, condition);
        }
    }
    for (const OptionInfo& argument : command.arguments) {
        text += "complete -c sonrel" + condition + ValueWords(argument) + "\n";
    }
    return text;
}

}  // namespace

std::string FishCompletion(const CommandInfo& program) {
    return "# Completion of sonrel for fish. Generated from the command line of the program.\n"
           "function __sonrel_command\n    set -l values" +
           NamesWithValue(program.options) + "\n    set -l known" + KnownCommands(program) +
           TAIL_OF_COMMAND + "complete -c sonrel -f\n" + CommandLines(program);
}

std::string FishQuoted(const std::string& text) {
    std::string quoted = "'";
    for (const char letter : text) {
        if (letter == '\'' || letter == '\\') quoted += '\\';
        quoted += letter;
    }
    return quoted + "'";
}

}  // namespace orlo::host
