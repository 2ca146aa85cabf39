// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/App.hpp>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

/// What the options of several commands have in common. Only sources that declare options include
/// this: the argument library is slow to compile.
namespace orlo::host {

/// A whole number in decimal digits.
CLI::Validator WholeNumber(long long min, long long max);

/// Words of an option, each with the number of its value.
using Words = std::vector<std::pair<std::string, long long>>;

/// One of some words. The argument library then converts the number of the word.
CLI::Validator OneOfWords(const Words& words);

template <class Value>
CLI::Validator OneOf(std::initializer_list<std::pair<const char*, Value>> choices) {
    Words words;
    for (const auto& [word, value] : choices) {
        words.emplace_back(word, static_cast<long long>(value));
    }
    return OneOfWords(words);
}

/// The name of a file or folder, which must not be empty.
CLI::Validator Name();

/// INPUT of a command that takes one.
void DeclareInput(CLI::App& command, std::string& input, const std::string& description);
/// INPUT of a command that takes several.
void DeclareInputs(CLI::App& command, std::vector<std::string>& inputs);

/// --overwrite
void DeclareOverwrite(CLI::App& command, bool& overwrite);

}  // namespace orlo::host
