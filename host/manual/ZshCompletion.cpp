// SPDX-License-Identifier: MIT
#include "host/manual/Completions.h"

namespace orlo::host {

namespace {

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

/// What _arguments completes for a value: ":message:action".
std::string ValueSpec(const std::string& form, const OptionInfo& option) {
    const bool hasFiles = option.kind != ValueKind::Text;
    const std::string files = option.kind == ValueKind::Folder ? "_files -/" : "_files";
    std::string action = " ";
    if (!option.words.empty() && hasFiles) {
        action = "{_sonrel_or_files \"" + Joined(option.words) + "\"}";
    } else if (!option.words.empty()) {
        action = "(" + Joined(option.words) + ")";
    } else if (hasFiles) {
        action = files;
    }
    return ":" + ZshText(form) + ":" + action;
}

/// The names of an option exclude each other. A repeated option begins with an asterisk.
std::string OptionSpecs(const OptionInfo& option) {
    std::string specs;
    for (const std::string& name : option.names) {
        std::string spec = option.isRepeated ? "*" : "(" + Joined(option.names) + ")";
        // With the sign, the value may be in the same word or in the next one.
        const bool hasSign = !option.value.empty() && name.starts_with("--");
        spec += name + (hasSign ? "=[" : "[") + ZshText(option.description) + "]";
        if (!option.value.empty()) spec += ValueSpec(option.value, option);
        specs += "        " + SingleQuoted(spec) + "\n";
    }
    return specs;
}

std::string ArgumentSpec(const OptionInfo& argument, std::size_t number) {
    const std::string place = argument.isRepeated ? "*" : std::to_string(number);
    return "        " + SingleQuoted(place + ValueSpec(argument.names.front(), argument)) + "\n";
}

std::string FunctionName(const CommandInfo& command) {
    return "_sonrel" + (command.path.empty() ? "" : "_" + PathText(command, "_"));
}

/// The function of a command with commands below it.
std::string GroupBody(const CommandInfo& command) {
    std::string text =
        "    local context state state_descr line\n"
        "    local -A opt_args\n"
        "    local -a commands=(\n";
    for (const CommandInfo& below : command.commands) {
        text +=
            "        " + SingleQuoted(below.path.back() + ":" + ZshText(below.description)) + "\n";
    }
    text +=
        "    )\n    _arguments -S -C $options '(-): :->command' '(-)*:: :->arguments' && return\n"
        "    case $state in\n"
        "        command) _describe -t commands command commands ;;\n"
        "        arguments)\n            case $words[1] in\n";
    for (const CommandInfo& below : command.commands) {
        text += "                " + below.path.back() + ") " + FunctionName(below) + " ;;\n";
    }
    return text + "            esac ;;\n    esac\n";
}

std::string CommandBody(const CommandInfo& command) {
    std::string text = "    _arguments -S $options";
    for (std::size_t i = 0; i < command.arguments.size(); ++i) {
        text += " \\\n" + ArgumentSpec(command.arguments[i], i + 1);
        text.pop_back();
    }
    return text + "\n";
}

/// The function of a command, and of those below it. The array `options` has the options of the
/// program and of the commands so far.
std::string Functions(const CommandInfo& command) {
    std::string text = FunctionName(command) + "() {\n";
    text += command.path.empty() ? "    local -a options=(\n" : "    options+=(\n";
    for (const OptionInfo& option : command.options) {
        if (command.path.empty() || option.names.front() != "--help") text += OptionSpecs(option);
    }
    text += "    )\n";
    text += command.commands.empty() ? CommandBody(command) : GroupBody(command);
    text += "}\n\n";
    for (const CommandInfo& below : command.commands) text += Functions(below);
    return text;
}

}  // namespace

std::string ZshCompletion(const CommandInfo& program) {
    return "#compdef sonrel\n"
           "# Completion of sonrel for zsh. Generated from the command line of the program.\n"
           "_sonrel_or_files() {\n"
           "    _alternative \"words:word:($1)\" 'files:file:_files'\n"
           "}\n\n" +
           Functions(program) + "_sonrel \"$@\"\n";
}

std::string ZshText(const std::string& text) {
    std::string escaped;
    for (const char letter : text) {
        if (std::string("\\:[]").find(letter) != std::string::npos) escaped += '\\';
        escaped += letter;
    }
    return escaped;
}

}  // namespace orlo::host
