// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "host/json/Json.h"

/// Rules for the values of a JSON document, as a schema made of functions.
namespace orlo::host {

/// A value that breaks its rule. The text is a clause with the key and the rule.
class JsonRuleError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Checks a value. Throws JsonRuleError.
/// @param key  place of the value in its document: "media[0].size"
using JsonRule = std::function<void(const Json& value, const std::string& key)>;

/// A text that is not empty.
JsonRule IsText();
JsonRule IsFlag();
JsonRule IsInteger(long long min, long long max);
JsonRule IsNumber(double min, double max);
/// A number in hexadecimal digits in lower case.
JsonRule IsHex(std::size_t digits);
JsonRule IsOneOf(std::vector<std::string> words);
JsonRule IsNullOr(JsonRule rule);
JsonRule IsListOf(JsonRule rule);
/// A list of a fixed number of items.
JsonRule IsListOf(JsonRule rule, std::size_t count);
/// An object that has these members. It may have others.
JsonRule HasMembers(std::vector<std::pair<std::string, JsonRule>> members);

}  // namespace orlo::host
