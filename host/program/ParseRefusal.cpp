// SPDX-License-Identifier: MIT
#include "host/program/ParseRefusal.h"

#include <CLI/CLI.hpp>
#include <vector>

#include "host/shell/Text.h"

namespace orlo::host {

namespace {

/// The words that the command does not take, in the order of the command line.
struct Extras {
    std::string option;                  ///< the first unknown option without its value
    std::vector<std::string> arguments;  ///< all words that are not options
};

Extras ExtrasOf(const CLI::App& app) {
    Extras extras;
    for (const std::string& word : app.remaining(true)) {
        if (!word.starts_with('-') || word == "-") {
            extras.arguments.push_back(word);
        } else if (word != "--" && extras.option.empty()) {
            extras.option = word.substr(0, word.find('='));
        }
    }
    return extras;
}

std::string UnexpectedClause(const std::vector<std::string>& arguments) {
    std::string names;
    for (const std::string& argument : arguments) {
        names += (names.empty() ? "" : ", ") + Quoted(argument);
    }
    return (arguments.size() == 1 ? "unexpected argument " : "unexpected arguments ") + names;
}

/// The help text that lists the options of the command in use.
std::string HelpHint(const CLI::App& app) {
    std::string command = "sonrel";
    for (const CLI::App* sub : app.get_subcommands()) command += " " + sub->get_name();
    return "; see '" + command + " --help'";
}

}  // namespace

std::string ExplainRefusal(const CLI::App& app, const CLI::ParseError& error) {
    const std::string text = error.what();
    const std::string hint = HelpHint(app);
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        const std::string name = text.substr(0, text.find(':'));
        const bool missing = text.find("missing") != std::string::npos;
        return name + (missing ? " needs a value" : " is given more than once") + hint;
    }
    // The library looks for required words first, though an unknown word explains more.
    const Extras extras = ExtrasOf(app);
    const bool needsCommand = text.starts_with("A subcommand is required");
    if (!extras.option.empty()) return "unknown option " + Quoted(extras.option) + hint;
    if (!extras.arguments.empty()) {
        return needsCommand ? "unknown command " + Quoted(extras.arguments.front()) + hint
                            : UnexpectedClause(extras.arguments) + hint;
    }
    if (needsCommand) return "a command is missing" + hint;
    const std::size_t is = text.find(" is required");
    return (is == std::string::npos ? OneLine(text) : Quoted(text.substr(0, is)) + " is missing") +
           hint;
}

}  // namespace orlo::host
