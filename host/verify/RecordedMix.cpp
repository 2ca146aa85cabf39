// SPDX-License-Identifier: MIT
#include "host/verify/RecordedMix.h"

#include <CLI/App.hpp>
#include <algorithm>
#include <vector>

#include "host/manifest/RecordedOptions.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

/// Parses the recorded options with the parser of `mix`, whose other options have placeholders.
void ParseRecordedOptions(const Json& options, RecordedMix& mix) {
    CLI::App app;
    DeclareGlobalOptions(app, mix.global);
    DeclareMixOptions(app, mix.options);
    std::vector<std::string> words = WordsOf(options);
    words.insert(words.end(), {"-o", "unused.wav", "--", "unused"});
    // The parser takes the words in reverse order.
    std::reverse(words.begin(), words.end());
    app.parse(std::move(words));
}

[[noreturn]] void RefuseOptions(const std::string& path, const std::string& reason) {
    throw JobError("cannot use the manifest " + Quoted(path) + ": options: " + OneLine(reason));
}

/// An option that this version does not have, or whose value has the wrong form.
void RequireKnown(const Json& options, const std::string& path) {
    CLI::App app;
    RecordedMix unused;
    DeclareGlobalOptions(app, unused.global);
    DeclareMixOptions(app, unused.options);
    for (const auto& [key, value] : options.AsObject()) {
        const CLI::Option* option = app.get_option_no_throw("--" + key);
        if (option == nullptr) RefuseOptions(path, "--" + key + " is unknown");
        const bool isFlag = option->get_items_expected_max() == 0;
        const bool isRepeated = key == "media-root";
        if (value.IsBool() != isFlag || value.IsArray() != isRepeated) {
            RefuseOptions(path, "--" + key + " has a value of the wrong type");
        }
    }
}

}  // namespace

RecordedMix MixOfManifest(const Json& manifest, const std::string& path, const std::string& input,
                          const GlobalOptions& global) {
    const Json& options = *manifest.Find("options");
    RequireKnown(options, path);
    RecordedMix mix;
    mix.global = global;
    try {
        ParseRecordedOptions(options, mix);
    } catch (const CLI::ParseError& error) {
        RefuseOptions(path, error.what());
    }
    if (options.Find("media-root") != nullptr) {
        mix.global.mediaRoots.insert(mix.global.mediaRoots.begin(), global.mediaRoots.begin(),
                                     global.mediaRoots.end());
    }
    mix.options.input = input;
    mix.options.output.clear();
    if (!manifest.Find("stems")->AsArray().empty()) mix.options.stems = "";
    return mix;
}

}  // namespace orlo::host
