// SPDX-License-Identifier: MIT
#include "host/manifest/JsonRules.h"

#include <algorithm>
#include <optional>

#include "host/shell/Text.h"

namespace orlo::host {

namespace {

[[noreturn]] void Break(const std::string& key, const std::string& rule) {
    throw JsonRuleError(key + " " + rule);
}

void Require(bool holds, const std::string& key, const std::string& rule) {
    if (!holds) Break(key, "is not " + rule);
}

std::string RangeText(const std::string& min, const std::string& max) {
    return "from " + min + " to " + max;
}

bool IsHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
}

std::string NextKey(const std::string& key, const std::string& member) {
    return key.empty() ? member : key + "." + member;
}

}  // namespace

JsonRule IsText() {
    return [](const Json& value, const std::string& key) {
        Require(value.IsString() && !value.AsString().empty(), key, "a text");
    };
}

JsonRule IsFlag() {
    return [](const Json& value, const std::string& key) {
        Require(value.IsBool(), key, "true or false");
    };
}

JsonRule IsInteger(long long min, long long max) {
    return [min, max](const Json& value, const std::string& key) {
        const std::optional<long long> number = value.AsInteger();
        Require(number && *number >= min && *number <= max, key,
                "a whole number " + RangeText(std::to_string(min), std::to_string(max)));
    };
}

JsonRule IsNumber(double min, double max) {
    return [min, max](const Json& value, const std::string& key) {
        const bool isInRange =
            value.IsNumber() && value.AsNumber() >= min && value.AsNumber() <= max;
        Require(isInRange, key, "a number " + RangeText(FormatShort(min), FormatShort(max)));
    };
}

JsonRule IsHex(std::size_t digits) {
    return [digits](const Json& value, const std::string& key) {
        const bool isHex =
            value.IsString() && value.AsString().size() == digits &&
            std::all_of(value.AsString().begin(), value.AsString().end(), IsHexDigit);
        Require(isHex, key, "a number of " + std::to_string(digits) + " hexadecimal digits");
    };
}

JsonRule IsOneOf(std::vector<std::string> words) {
    return [words = std::move(words)](const Json& value, const std::string& key) {
        std::string names;
        for (const std::string& word : words) {
            if (value.IsString() && value.AsString() == word) return;
            names += (names.empty() ? "" : ", ") + word;
        }
        Break(key, "is not one of " + names);
    };
}

JsonRule IsNullOr(JsonRule rule) {
    return [rule = std::move(rule)](const Json& value, const std::string& key) {
        if (!value.IsNull()) rule(value, key);
    };
}

JsonRule IsListOf(JsonRule rule) {
    return [rule = std::move(rule)](const Json& value, const std::string& key) {
        Require(value.IsArray(), key, "a list");
        for (std::size_t i = 0; i < value.AsArray().size(); ++i) {
            rule(value.AsArray()[i], key + "[" + std::to_string(i) + "]");
        }
    };
}

JsonRule IsListOf(JsonRule rule, std::size_t count) {
    return [rule = IsListOf(std::move(rule)), count](const Json& value, const std::string& key) {
        rule(value, key);
        Require(value.AsArray().size() == count, key,
                "a list of " + std::to_string(count) + " items");
    };
}

JsonRule HasMembers(std::vector<std::pair<std::string, JsonRule>> members) {
    return [members = std::move(members)](const Json& value, const std::string& key) {
        Require(value.IsObject(), key.empty() ? "the document" : key, "an object");
        for (const auto& [name, rule] : members) {
            const Json* member = value.Find(name);
            if (member == nullptr) Break(NextKey(key, name), "is missing");
            rule(*member, NextKey(key, name));
        }
    };
}

}  // namespace orlo::host
