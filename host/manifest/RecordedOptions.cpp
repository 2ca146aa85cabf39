// SPDX-License-Identifier: MIT
#include "host/manifest/RecordedOptions.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace orlo::host {

namespace {

/// Options that do not change a sample. A manifest records the stems separately.
constexpr std::array<std::string_view, 21> LEFT_OUT = {
    "--cache-size",  "--cache", "--db",     "--no-cache-db",  "--no-log",
    "--keep-days",   "--json",  "--quiet",  "--progress",     "-o",
    "--spool-limit", "--stems", "--meters", "--manifest",     "--jobs",
    "--overwrite",   "--part",  "--strict", "--fail-on-clip", "--help",
    "--version"};

constexpr const char* DASHES = "--";

/// Only this option can be repeated.
constexpr const char* REPEATED = "--media-root";

}  // namespace

bool IsRecordedOption(const std::string& name) {
    return name.starts_with(DASHES) &&
           std::find(LEFT_OUT.begin(), LEFT_OUT.end(), name) == LEFT_OUT.end();
}

Json RecordedOptions(const GivenOptions& given) {
    Json options = Json::Object();
    for (const auto& [name, values] : given) {
        if (!IsRecordedOption(name)) continue;
        // An empty position is the default.
        if (values == std::vector<std::string>{""}) continue;
        Json& value = options[name.substr(2)];
        if (values.empty()) {
            value = true;
        } else if (name == REPEATED) {
            value = values;
        } else {
            value = values.front();
        }
    }
    return options;
}

std::vector<std::string> WordsOf(const Json& options) {
    std::vector<std::string> words;
    for (const auto& [key, value] : options.AsObject()) {
        const std::string name = DASHES + key;
        if (value.IsString()) words.push_back(name + "=" + value.AsString());
        if (value.IsBool()) words.push_back(name);
        if (!value.IsArray()) continue;
        for (const Json& item : value.AsArray()) words.push_back(name + "=" + item.AsString());
    }
    return words;
}

}  // namespace orlo::host
