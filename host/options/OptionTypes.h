// SPDX-License-Identifier: MIT
#pragma once

#include <CLI/App.hpp>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

/// Validators and options that several commands share. Only sources that declare options include
/// this header, because the argument library is slow to compile.
namespace orlo::host {

/// Accepts an integer in decimal digits.
CLI::Validator WholeNumber(long long min, long long max);

/// Accepts a decimal number with an optional minus sign.
CLI::Validator Number(int min, int max);

/// Accepts a number of bytes, as ParseSize does, and replaces it by its decimal digits.
CLI::Validator SizeFrom(long long min);

/// The words of an option, each with the number of its value.
using Words = std::vector<std::pair<std::string, long long>>;

/// Accepts one of @p words and replaces it by its number, which the argument library converts. The
/// name of the validator is the words with bars between them: "auto|json".
CLI::Validator OneOfWords(const Words& words);

template <class Value>
CLI::Validator OneOf(std::initializer_list<std::pair<const char*, Value>> choices) {
    Words words;
    for (const auto& [word, value] : choices) {
        words.emplace_back(word, static_cast<long long>(value));
    }
    return OneOfWords(words);
}

/// Accepts the name of a file or folder, which must not be empty.
CLI::Validator Name();

/// Accepts the name of an INPUT: a name that is not empty and not a URL.
CLI::Validator InputName();

/// Declares a single INPUT.
void DeclareInput(CLI::App& command, std::string& input, const std::string& description);
/// Declares INPUT with one or more values.
void DeclareInputs(CLI::App& command, std::vector<std::string>& inputs);

/// Declares --strict.
void DeclareStrict(CLI::App& command, bool& strict);

/// Declares --overwrite.
void DeclareOverwrite(CLI::App& command, bool& overwrite);

}  // namespace orlo::host
