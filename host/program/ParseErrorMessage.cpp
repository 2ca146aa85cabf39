// SPDX-License-Identifier: MIT
#include "host/program/ParseErrorMessage.h"

#include <CLI/App.hpp>

#include "host/shell/Text.h"

namespace orlo::host {

namespace {

/// The program and the commands in use, the innermost command last.
std::vector<const CLI::App*> CommandsInUse(const CLI::App& app) {
    std::vector<const CLI::App*> commands{&app};
    while (!commands.back()->get_subcommands().empty()) {
        commands.push_back(commands.back()->get_subcommands().front());
    }
    return commands;
}

/// The words that the command does not accept, in the order of the command line.
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

bool NeedsCommand(const CLI::App& command) {
    const auto any = [](const CLI::App*) { return true; };
    return !command.get_subcommands(any).empty() && command.get_subcommands().empty();
}

/// Name of the first option for which @p applies returns true; empty when there is none.
template <class Condition>
std::string FirstOption(const std::vector<const CLI::App*>& commands, const Condition& applies) {
    for (const CLI::App* command : commands) {
        for (const CLI::Option* option : command->get_options()) {
            if (applies(*option)) return option->get_name();
        }
    }
    return {};
}

std::string MismatchClause(const std::vector<const CLI::App*>& commands,
                           const std::vector<std::string>& words) {
    const std::string repeated = FirstOption(commands, [](const CLI::Option& option) {
        return option.get_multi_option_policy() == CLI::MultiOptionPolicy::Throw &&
               option.count() > static_cast<std::size_t>(option.get_items_expected_max());
    });
    if (!repeated.empty()) return repeated + " is given more than once";
    // The next word is always the value, so only the last word can lack a value.
    return words.back().substr(0, words.back().find('=')) + " needs a value";
}

std::string Clause(const CLI::App& app, const std::vector<std::string>& words,
                   const CLI::ParseError& error) {
    const std::vector<const CLI::App*> commands = CommandsInUse(app);
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        return MismatchClause(commands, words);
    }
    // An unknown word takes precedence, since it may be the reason why an option is missing.
    const Extras extras = ExtrasOf(app);
    if (!extras.option.empty()) return "unknown option " + Quoted(extras.option);
    const bool needsCommand = NeedsCommand(*commands.back());
    if (!extras.arguments.empty()) {
        return needsCommand ? "unknown command " + Quoted(extras.arguments.front())
                            : UnexpectedClause(extras.arguments);
    }
    if (dynamic_cast<const CLI::RequiredError*>(&error) == nullptr) return OneLine(error.what());
    if (needsCommand) return "a command is missing";
    return Quoted(FirstOption(commands,
                              [](const CLI::Option& option) {
                                  return option.get_required() && option.count() == 0;
                              })) +
           " is missing";
}

/// The help text that lists the options of the command in use.
std::string HelpHint(const CLI::App& app) {
    std::string command;
    for (const CLI::App* used : CommandsInUse(app)) {
        command += (command.empty() ? "" : " ") + used->get_name();
    }
    return "; see '" + command + " --help'";
}

}  // namespace

std::string ParseErrorMessage(const CLI::App& app, const std::vector<std::string>& words,
                              const CLI::ParseError& error) {
    return Clause(app, words, error) + HelpHint(app);
}

}  // namespace orlo::host
