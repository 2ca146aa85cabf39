// SPDX-License-Identifier: MIT
#include "host/verify/VerifyCommand.h"

#include <optional>
#include <utility>

#include "host/manifest/Manifest.h"
#include "host/manifest/ManifestComparison.h"
#include "host/manifest/RecordedOptions.h"
#include "host/media/SpooledInput.h"
#include "host/mix/MixCommand.h"
#include "host/otio/TimelinePath.h"
#include "host/shell/Errors.h"
#include "host/shell/Summary.h"
#include "host/shell/Text.h"
#include "host/verify/RecordedMix.h"

namespace orlo::host {

namespace {

/// Refuses options that the manifest has. Options that help to find the media files are allowed.
void RefuseRecordedOptions(const GivenOptions& given) {
    for (const auto& [name, values] : given) {
        if (!IsRecordedOption(name) || name == "--cached" || name == "--media-root" ||
            name == "--allow-missing") {
            continue;
        }
        throw UsageError(name + " cannot be given: the manifest has the options of the mix");
    }
}

/// Mixes with conformed files that are made for this run, unless conformed files of the cache are
/// allowed: the cache would not notice a media file that changed without its size and time.
Json RenderAgain(const RecordedMix& mix, bool cached) {
    const bool isArchive = otio::FormatOf(mix.options.input) == otio::TimelineFormat::Otioz;
    if (cached && !isArchive) return RenderManifest(mix.global, mix.options);
    std::vector<std::string> archives;
    if (isArchive) archives.push_back(mix.options.input);
    const SpooledInput spooled(mix.global, std::move(archives));
    try {
        return RenderManifest(spooled.Options(), mix.options);
    } catch (const CommandError& error) {
        throw CommandError(error.Code(), spooled.WithNames(error.what()));
    }
}

/// A mix that the options of a manifest make impossible is a failure of the job: the command line
/// is right.
Json RenderOrFail(const RecordedMix& mix, const VerifyOptions& options) {
    try {
        return RenderAgain(mix, options.cached);
    } catch (const CommandError& error) {
        if (error.Code() != ExitCode::WrongUsage) throw;
        throw JobError("cannot mix " + Quoted(mix.options.input) + " with the options of " +
                       Quoted(options.manifest) + ": " + error.what());
    }
}

Json ChangeJson(const ManifestChange& change) {
    return Json::Object({{"what", change.what},
                         {"key", change.key},
                         {"text", change.text},
                         {"recorded", change.recorded},
                         {"found", change.found}});
}

/// "media, samples": each kind of change once.
std::string KindsOf(const std::vector<ManifestChange>& changes) {
    std::string kinds;
    std::string last;
    for (const ManifestChange& change : changes) {
        if (change.what == last) continue;
        last = change.what;
        kinds += (kinds.empty() ? "" : ", ") + change.what;
    }
    return kinds;
}

std::string EqualText(const Json& manifest) {
    const Json& samples = *manifest.Find("samples");
    const auto files = static_cast<long long>(manifest.Find("media")->AsArray().size());
    return "  " + Counted(files, "media file") + ", " +
           Counted(*samples.Find("count")->AsInteger(), "sample") + ", SHA-256 " +
           samples.Find("sha256")->AsString() + "\n";
}

std::string ChangesText(const std::vector<ManifestChange>& changes) {
    constexpr std::size_t COLUMN = 10;
    std::string text;
    for (const ManifestChange& change : changes) {
        std::string what = change.what;
        what.resize(COLUMN, ' ');
        text += "  " + what + change.text + "\n";
    }
    return text;
}

Outcome OutcomeOf(const VerifyOptions& options, const std::string& input, const Json& recorded,
                  const Json& found) {
    const std::vector<ManifestChange> changes = CompareManifests(recorded, found);
    Outcome outcome;
    outcome.report["manifest"] = options.manifest;
    outcome.report["input"] = input;
    outcome.report["equal"] = changes.empty();
    outcome.report["equalSamples"] =
        FirstDifference(*recorded.Find("samples"), *found.Find("samples"), "samples").empty();
    outcome.report["samples"] = *found.Find("samples");
    outcome.report["changes"] = Json::Array();
    for (const ManifestChange& change : changes) {
        outcome.report["changes"].Append(ChangeJson(change));
    }
    outcome.text = OneLine(options.manifest) + ": " + OneLine(input) +
                   (changes.empty() ? " is equal\n" + EqualText(recorded)
                                    : " is different\n" + ChangesText(changes));
    if (!changes.empty()) {
        const ManifestChange& first = changes.front();
        outcome.Fail(ExitCode::ConditionFailed,
                     "the mix of " + Quoted(input) + " differs from " + Quoted(options.manifest) +
                         " in " + KindsOf(changes) + "; first " + first.key + ": " + first.text);
    }
    return outcome;
}

}  // namespace

Outcome RunVerify(const GlobalOptions& global, const VerifyOptions& options) {
    RefuseRecordedOptions(options.given);
    const Json recorded = ReadManifest(options.manifest);
    const std::string input = InputOfManifest(recorded, options.manifest);
    RecordedMix mix = MixOfManifest(recorded, options.manifest, input, global);
    mix.options.jobs = options.jobs;
    return OutcomeOf(options, input, recorded, RenderOrFail(mix, options));
}

}  // namespace orlo::host
