// SPDX-License-Identifier: MIT
#include "host/manual/Completions.h"

namespace orlo::host {

namespace {

/// The part of the script that does not depend on the commands. For names of files the function
/// returns nothing, and readline completes and quotes them.
constexpr char HEAD[] =
    R"(# Completion of sonrel for bash. Generated from the command line of the program.
_sonrel() {
    local current=${COMP_WORDS[COMP_CWORD]} option= command= word options= commands= words= kind=
    local -i number=0
    [[ $current == = ]] && current=
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        if [[ -n $option ]]; then
            [[ $word == = ]] || option=
        elif [[ $word == = ]]; then
            :
        elif [[ $word == -* ]]; then
            _sonrel_value "$command" "$word" && option=$word
        elif _sonrel_command "$command" "$word"; then
            command+=${command:+ }$word
        else
            number+=1
        fi
    done
    COMPREPLY=()
    compopt +o default
    if [[ -n $option ]]; then
        _sonrel_value "$command" "$option"
    elif [[ $current == -* ]]; then
        _sonrel_options "$command"
        words=$options
    elif _sonrel_options "$command"; [[ -n $commands ]]; then
        words=$commands
    else
        _sonrel_argument "$command" "$number"
    fi
    [[ -n $words ]] && COMPREPLY=($(compgen -W "$words" -- "$current"))
    case $kind in
        file) compopt -o default ;;
        folder) compopt -o dirnames ;;
    esac
}

)";

/// Commands as a pattern of `case`: 'cache ls' | 'cache du'.
std::string Pattern(const CommandInfo& command, const std::string& word) {
    return SingleQuoted(PathText(command) + " " + word);
}

std::string Assignments(const OptionInfo& option) {
    std::string text;
    if (!option.words.empty()) {
        std::string words;
        for (const std::string& word : option.words) words += (words.empty() ? "" : " ") + word;
        text += " words=" + SingleQuoted(words);
    }
    if (option.kind == ValueKind::File) text += " kind=file";
    if (option.kind == ValueKind::Folder) text += " kind=folder";
    return text.empty() ? " :" : text;
}

/// Lines of `case` for the commands below a command: they are the words after it.
std::string CommandCases(const CommandInfo& command) {
    std::string text;
    for (const CommandInfo& below : command.commands) {
        text += "        " + Pattern(command, below.path.back()) + ") ;;\n" + CommandCases(below);
    }
    return text;
}

/// Lines of `case` for the options with a value. Options of the program belong to all commands.
std::string ValueCases(const CommandInfo& command) {
    std::string text;
    for (const OptionInfo& option : command.options) {
        if (option.value.empty()) continue;
        std::string patterns;
        for (const std::string& name : option.names) {
            const std::string pattern =
                command.path.empty() ? "*" + SingleQuoted(" " + name) : Pattern(command, name);
            patterns += (patterns.empty() ? "" : " | ") + pattern;
        }
        text += "        " + patterns + ")" + Assignments(option) + " ;;\n";
    }
    for (const CommandInfo& below : command.commands) text += ValueCases(below);
    return text;
}

std::string NamesOf(const std::vector<OptionInfo>& options) {
    std::string text;
    for (const OptionInfo& option : options) {
        for (const std::string& name : option.names) text += (text.empty() ? "" : " ") + name;
    }
    return text;
}

std::string OptionCases(const CommandInfo& command) {
    std::string commands;
    std::string text;
    for (const CommandInfo& below : command.commands) {
        commands += (commands.empty() ? "" : " ") + below.path.back();
        text += OptionCases(below);
    }
    const std::string own = command.path.empty() ? "" : NamesOf(command.options);
    text += "        " + SingleQuoted(PathText(command)) +
            ") options+=" + SingleQuoted(own.empty() ? "" : " " + own) +
            " commands=" + SingleQuoted(commands) + " ;;\n";
    return text;
}

/// Lines of `case` for the arguments. A repeated argument has all further numbers.
std::string ArgumentCases(const CommandInfo& command) {
    std::string text;
    for (std::size_t i = 0; i < command.arguments.size(); ++i) {
        const bool isLast = i + 1 == command.arguments.size();
        const std::string number =
            isLast && command.arguments[i].isRepeated ? "*" : SingleQuoted(std::to_string(i));
        text += "        " + SingleQuoted(PathText(command) + " ") + number + ")" +
                Assignments(command.arguments[i]) + " ;;\n";
    }
    for (const CommandInfo& below : command.commands) text += ArgumentCases(below);
    return text;
}

std::string CaseFunction(const std::string& name, const std::string& before,
                         const std::string& subject, const std::string& cases,
                         const std::string& otherwise) {
    return name + "() {\n" + before + "    case " + subject + " in\n" + cases + otherwise +
           "    esac\n}\n\n";
}

}  // namespace

std::string BashCompletion(const CommandInfo& program) {
    const std::string noMatch = "        *) return 1 ;;\n";
    return HEAD + CaseFunction("_sonrel_command", "", "\"$1 $2\"", CommandCases(program), noMatch) +
           CaseFunction("_sonrel_value", "", "\"$1 $2\"", ValueCases(program), noMatch) +
           CaseFunction("_sonrel_options",
                        "    options=" + SingleQuoted(NamesOf(program.options)) + "\n", "$1",
                        OptionCases(program), "") +
           CaseFunction("_sonrel_argument", "", "\"$1 $2\"", ArgumentCases(program), "") +
           "complete -F _sonrel -o default sonrel\n";
}

std::string SingleQuoted(const std::string& text) {
    std::string quoted = "'";
    for (const char letter : text) {
        if (letter == '\'') {
            quoted += "'\\''";
        } else {
            quoted += letter;
        }
    }
    return quoted + "'";
}

}  // namespace orlo::host
