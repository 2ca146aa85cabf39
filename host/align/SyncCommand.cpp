// SPDX-License-Identifier: MIT
#include "host/align/SyncCommand.h"

#include <algorithm>

#include "host/align/AlignmentReport.h"
#include "host/align/DayTimeline.h"
#include "host/align/PairResults.h"
#include "host/align/RecordingFiles.h"
#include "host/align/Recordings.h"
#include "host/media/SpooledInput.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "host/timeline/Input.h"

namespace orlo::host {

namespace {

constexpr double DEFAULT_FPS = 25.0;
constexpr std::size_t MAX_LISTED = 10;  // ignored files in the text

void CheckOptions(const GlobalOptions& global) {
    if (global.noCacheDb) {
        throw UsageError("sync needs the cache for its files; leave out --no-cache-db");
    }
    if (global.spool.hasStandardInput) {
        throw UsageError("sync writes the names of its recordings; name files instead of " +
                         Quoted(STANDARD_INPUT));
    }
}

/// The recordings of the inputs, and the reference if it is not one of them.
RecordingFiles FilesOf(const SyncOptions& options) {
    std::vector<std::string> inputs = options.inputs;
    if (!options.reference.empty()) inputs.push_back(options.reference);
    RecordingFiles files = FindRecordings(inputs);
    if (files.recordings.size() < 2) {
        throw JobError("sync needs two recordings or more, and the inputs have " +
                       std::to_string(files.recordings.size()) + "; name other folders or files");
    }
    return files;
}

/// The reference, and the reason for its choice.
struct Reference {
    std::size_t index = 0;
    std::string reason;
};

/// The longest usable recording that is accepted; the first of several. Empty when there is none.
template <class Accept>
std::optional<std::size_t> Longest(const std::vector<Recording>& list, const Accept& accepts) {
    std::optional<std::size_t> longest;
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (!list[i].error.empty() || !accepts(list[i])) continue;
        if (!longest || list[i].Frames() > list[*longest].Frames()) longest = i;
    }
    return longest;
}

Reference ChooseReference(const std::vector<Recording>& list, const std::string& wanted) {
    if (!wanted.empty()) {
        const std::string path = AbsolutePath(wanted);
        const auto found = std::find_if(list.begin(), list.end(), [&](const Recording& recording) {
            return recording.path == path;
        });
        return {static_cast<std::size_t>(found - list.begin()), "from --reference"};
    }
    const auto hasNoPicture = [](const Recording& recording) { return !recording.HasPicture(); };
    if (const auto sound = Longest(list, hasNoPicture)) {
        return {*sound, "the longest recording without picture"};
    }
    const auto any = [](const Recording&) { return true; };
    return {Longest(list, any).value_or(0), "the longest recording"};
}

/// --fps, else the frame rate of the first recording with picture, else 25.
double FrameRateOfDay(const GlobalOptions& global, const std::vector<Recording>& list) {
    if (global.fps) return *global.fps;
    const auto camera = std::find_if(list.begin(), list.end(), [](const Recording& recording) {
        return recording.error.empty() && recording.HasPicture();
    });
    return camera == list.end() ? DEFAULT_FPS : camera->asset->VideoStream()->FrameRate();
}

std::string IgnoredText(const std::vector<std::string>& ignored) {
    if (ignored.empty()) return {};
    std::string names;
    for (std::size_t i = 0; i < std::min(ignored.size(), MAX_LISTED); ++i) {
        names += (i == 0 ? "" : ", ") + Quoted(ignored[i]);
    }
    if (ignored.size() > MAX_LISTED) {
        names += " and " + std::to_string(ignored.size() - MAX_LISTED) + " more";
    }
    return "ignored, because they are not recordings: " + names + "\n";
}

}  // namespace

Outcome RunSync(const GlobalOptions& global, const SyncOptions& options) {
    CheckOptions(global);
    const RecordingFiles files = FilesOf(options);
    CheckSound(options.sound, files.recordings);
    Recordings recordings(global, files.recordings, options.sound.Choice());
    for (const auto& [path, error] : files.errors) recordings.SetError(path, error);
    OutputGuard guard(options.overwrite);
    ClaimAlignOutputs(global, options, files.recordings, guard);
    const EngineSession session(global);
    Progress progress(global.progress, global.quiet);
    recordings.Prepare(session, options.jobs.Count(), progress);

    const Reference reference = ChooseReference(recordings.List(), options.reference);
    const double fps = FrameRateOfDay(global, recordings.List());
    recordings.MoveToFront(reference.index);
    Outcome outcome =
        AlignWithFirst({options, recordings, fps, DayTimeline, guard}, session, progress);
    const std::string& name = recordings.List().front().input;
    outcome.report["reference"] = name;
    outcome.report["ignored"] = Json(files.ignored);
    outcome.text = Quoted(name) + " is the reference: " + reference.reason + "\n" + outcome.text +
                   IgnoredText(files.ignored);
    return outcome;
}

}  // namespace orlo::host
