// SPDX-License-Identifier: MIT
#include "host/options/OptionTypes.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <optional>

#include "host/shell/ByteSize.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

/// Whether a text is a URL, and not the name of a file that looks like one.
bool IsUrl(const std::string& text) {
    const std::size_t colon = text.find("://");
    if (colon == std::string::npos || colon < 2) return false;
    const auto isSchemeLetter = [](char letter) {
        return std::isalnum(static_cast<unsigned char>(letter)) != 0 || letter == '+' ||
               letter == '-' || letter == '.';
    };
    std::error_code ignored;
    return std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(colon),
                       isSchemeLetter) &&
           !std::filesystem::exists(text, ignored);
}

}  // namespace

CLI::Validator WholeNumber(long long min, long long max) {
    const auto check = [min, max](std::string& text) -> std::string {
        const std::optional<long long> value = ParseInteger(text);
        if (!value || *value < min || *value > max) {
            return Quoted(text) + " is not a whole number from " + std::to_string(min) + " to " +
                   std::to_string(max);
        }
        // Removes leading zeros, which mean octal digits to the argument library.
        text = std::to_string(*value);
        return {};
    };
    return {check, ""};
}

CLI::Validator Number(int min, int max) {
    const auto check = [min, max](const std::string& text) -> std::string {
        const bool isNegative = text.starts_with('-');
        const std::optional<double> size = ParseDecimal(isNegative ? text.substr(1) : text);
        const double value = size ? (isNegative ? -*size : *size) : 0.0;
        if (size && value >= min && value <= max) return {};
        return Quoted(text) + " is not a number from " + std::to_string(min) + " to " +
               std::to_string(max);
    };
    return {check, ""};
}

CLI::Validator SizeFrom(long long min) {
    const auto check = [min](std::string& text) -> std::string {
        const std::optional<long long> size = ParseSize(text);
        if (!size || *size < min) return Quoted(text) + " is not a size such as 512M or 4G";
        text = std::to_string(*size);
        return {};
    };
    return {check, ""};
}

CLI::Validator OneOfWords(const Words& words) {
    const auto check = [words](std::string& text) -> std::string {
        std::string names;
        for (const auto& [word, number] : words) {
            if (word == text) {
                text = std::to_string(number);
                return {};
            }
            names += (names.empty() ? "" : ", ") + word;
        }
        return Quoted(text) + " is not one of " + names;
    };
    std::string name;
    for (const auto& [word, number] : words) name += (name.empty() ? "" : "|") + word;
    return {check, "", name};
}

CLI::Validator Name() {
    const auto check = [](const std::string& text) -> std::string {
        return text.empty() ? "the name must not be empty" : "";
    };
    return {check, ""};
}

CLI::Validator InputName() {
    const auto check = [](const std::string& text) -> std::string {
        if (text.empty()) return "the name must not be empty";
        return IsUrl(text) ? Quoted(text) + " is a URL; only files on this machine are read" : "";
    };
    return {check, ""};
}

void DeclareInput(CLI::App& command, std::string& input, const std::string& description) {
    command.add_option("INPUT", input, description)->required()->check(InputName());
}

void DeclareInputs(CLI::App& command, std::vector<std::string>& inputs) {
    command.add_option("INPUT", inputs, "Timelines and media files")
        ->required()
        ->check(InputName());
}

void DeclareStrict(CLI::App& command, bool& strict) {
    command.add_flag("--strict", strict,
                     "Exit 3 when a part of a timeline is left out, changed or silent");
}

void DeclareOverwrite(CLI::App& command, bool& overwrite) {
    command.add_flag("--overwrite", overwrite, "Replace write-protected files too");
}

}  // namespace orlo::host
