// SPDX-License-Identifier: MIT
#include "host/options/GivenOptions.h"

#include <CLI/App.hpp>

namespace orlo::host {

namespace {

const CLI::Option* FindOption(const CLI::App& command, const std::string& name) {
    const CLI::Option* option = command.get_option_no_throw(name);
    const CLI::App* program = command.get_parent();
    return option == nullptr && program != nullptr ? program->get_option_no_throw(name) : option;
}

bool IsFlag(const CLI::Option& option) {
    return option.get_items_expected_max() == 0;
}

/// The name of an option with one dash has one letter, which its value may follow.
std::size_t NameLength(const std::string& word) {
    return word.starts_with("--") ? word.find('=') : 2;
}

}  // namespace

// The parser keeps only the values that it has converted.
GivenOptions OptionsGiven(const CLI::App& command, const std::vector<std::string>& words) {
    GivenOptions given;
    for (std::size_t i = 0; i < words.size() && words[i] != "--"; ++i) {
        const std::string& word = words[i];
        if (!word.starts_with('-')) continue;
        const std::size_t length = NameLength(word);
        const CLI::Option* option = FindOption(command, word.substr(0, length));
        if (option == nullptr) continue;
        std::vector<std::string>& values = given[option->get_name()];
        if (IsFlag(*option)) continue;
        if (length < word.size()) {
            values.push_back(word.substr(word.starts_with("--") ? length + 1 : length));
        } else if (i + 1 < words.size()) {
            values.push_back(words[++i]);
        }
    }
    return given;
}

}  // namespace orlo::host
