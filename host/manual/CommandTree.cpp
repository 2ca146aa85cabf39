// SPDX-License-Identifier: MIT
#include "host/manual/CommandTree.h"

#include <CLI/App.hpp>
#include <algorithm>
#include <sstream>

#include "host/program/CommandLineParser.h"

namespace orlo::host {

namespace {

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
    return parts;
}

bool IsWord(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char letter) {
        return (letter >= 'a' && letter <= 'z') || (letter >= '0' && letter <= '9');
    });
}

/// The words of the validator that OneOf made: its name. The library returns validators by number
/// and throws after the last one.
std::vector<std::string> ValidWords(CLI::Option& option) {
    try {
        for (int i = 0;; ++i) {
            const std::string& name = option.get_validator(i)->get_name();
            if (!name.empty()) return Split(name, '|');
        }
    } catch (const CLI::OptionNotFound&) {
        return {};
    }
}

/// The words in a form with bars.
std::vector<std::string> WordsIn(const std::string& form) {
    if (form.find('|') == std::string::npos) return {};
    std::vector<std::string> words = Split(form, '|');
    std::erase_if(words, [](const std::string& part) { return !IsWord(part); });
    return words;
}

bool ContainsAny(const std::string& text, std::initializer_list<const char*> parts) {
    return std::any_of(parts.begin(), parts.end(),
                       [&](const char* part) { return text.find(part) != std::string::npos; });
}

ValueKind KindOf(const std::string& form) {
    if (ContainsAny(form, {"FILE", "OUT", "INPUT"})) return ValueKind::File;
    return ContainsAny(form, {"DIR", "FOLDER"}) ? ValueKind::Folder : ValueKind::Text;
}

OptionInfo DescribeOption(CLI::Option& option) {
    OptionInfo info;
    const bool isArgument = option.get_positional();
    for (const std::string& name : option.get_lnames()) info.names.push_back("--" + name);
    for (const std::string& name : option.get_snames()) info.names.push_back("-" + name);
    if (isArgument) info.names = {option.get_name(true)};
    if (option.get_items_expected_max() > 0) info.value = option.get_type_name();
    info.words = ValidWords(option);
    if (info.words.empty()) info.words = WordsIn(info.value);
    info.kind = isArgument && info.words.empty() ? ValueKind::File : KindOf(info.value);
    info.description = option.get_description();
    info.isRequired = option.get_required();
    info.isRepeated = option.get_items_expected_max() > 1;
    return info;
}

CommandInfo DescribeCommand(CLI::App& app, const std::vector<std::string>& path) {
    CommandInfo command;
    command.path = path;
    command.description = app.get_description();
    command.notes = NotesOf(app);
    for (CLI::Option* option : app.get_options([](CLI::Option*) { return true; })) {
        const OptionInfo info = DescribeOption(*option);
        (option->get_positional() ? command.arguments : command.options).push_back(info);
    }
    for (CLI::App* below : app.get_subcommands([](CLI::App*) { return true; })) {
        std::vector<std::string> pathBelow = path;
        pathBelow.push_back(below->get_name());
        command.commands.push_back(DescribeCommand(*below, pathBelow));
    }
    return command;
}

}  // namespace

std::string PathText(const CommandInfo& command, const std::string& separator) {
    std::string text;
    for (const std::string& word : command.path) text += (text.empty() ? "" : separator) + word;
    return text;
}

CommandInfo DescribeProgram() {
    CommandLine line;
    CLI::App app;
    DeclareCommandLine(app, line);
    return DescribeCommand(app, {});
}

}  // namespace orlo::host
