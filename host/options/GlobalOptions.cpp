// SPDX-License-Identifier: MIT
#include "host/options/GlobalOptions.h"

#include <algorithm>
#include <limits>

#include "host/options/OptionTypes.h"
#include "host/otio/FrameRates.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

void SetFrameRate(const std::string& text, GlobalOptions& options) {
    const std::optional<otio::FrameRateText> rate = otio::ParseFrameRate(text);
    if (!rate) {
        throw CLI::ValidationError(
            "--fps", Quoted(text) + (text.ends_with("df") ? " is not 29.97df, 59.94df or 119.88df"
                                                          : " is not a frame rate above 0"));
    }
    options.fps = rate->fps;
    options.dropFrame = rate->dropFrame;
}

std::optional<int> Grid(const std::string& text) {
    if (text == "auto") return std::nullopt;
    const std::optional<long long> factor = ParseInteger(text);
    if (factor && *factor >= 1 && *factor <= std::numeric_limits<int>::max()) {
        return static_cast<int>(*factor);
    }
    throw CLI::ValidationError("--grid",
                               Quoted(text) + " is neither auto nor a whole number above 0");
}

std::vector<otio::MediaRoot> MediaRoots(const std::vector<std::string>& texts) {
    std::vector<otio::MediaRoot> roots;
    for (const std::string& text : texts) {
        const std::size_t equals = text.find('=');
        if (equals == 0 || equals == std::string::npos) {
            throw CLI::ValidationError("--media-root",
                                       Quoted(text) + " is not of the form OLD=NEW");
        }
        roots.push_back({text.substr(0, equals), text.substr(equals + 1)});
    }
    return roots;
}

void DeclareCacheGroup(CLI::App& app, GlobalOptions& options) {
    app.add_option("--cache", options.cacheFolder, "Folder of the media cache")->type_name("DIR");
    app.add_option("--db", options.databaseFile,
                   "Media database: a file, or postgresql://HOST/NAME")
        ->type_name("FILE");
    app.add_flag("--no-cache-db", options.noCacheDb, "Use neither cache nor database");
    app.add_flag("--no-log", options.noLog, "Do not log cache errors");
    app.add_option("--keep-days", options.keepDays,
                   "Remove cache files that were not used for N days (default: 30)")
        ->type_name("N")
        ->transform(WholeNumber(0, std::numeric_limits<int>::max()));
    app.add_option("--cache-size", options.cacheSize,
                   "Remove cache files beyond SIZE, the longest unused first")
        ->type_name("SIZE")
        ->transform(SizeFrom(0));
    app.add_option("--spool-limit", options.spoolLimit,
                   "Maximum size of INPUT - and of an unpacked .otioz (default: 4G)")
        ->type_name("SIZE")
        ->transform(SizeFrom(1));
}

void DeclareReportGroup(CLI::App& app, GlobalOptions& options) {
    app.add_flag("--json", options.json, "Print the result as one JSON object");
    app.add_flag("--quiet", options.quiet, "Show no progress on a terminal");
    app.add_option("--progress", options.progress, "Progress: auto, json or none (default: auto)")
        ->type_name("MODE")
        ->transform(OneOf<ProgressMode>({{"auto", ProgressMode::Auto},
                                         {"json", ProgressMode::Json},
                                         {"none", ProgressMode::None}}));
}

void DeclareProjectGroup(CLI::App& app, GlobalOptions& options) {
    app.add_option("--rate", options.rate, "Sample rate of the project")
        ->type_name("HZ")
        ->transform(WholeNumber(64, 768000));
    app.add_option_function<std::string>(
           "--fps", [&options](const std::string& text) { SetFrameRate(text, options); },
           "Frame rate of the project: 25, 24000/1001, 29.97 or 29.97df")
        ->type_name("F");
    app.add_option_function<std::string>(
           "--grid", [&options](const std::string& text) { options.grid = Grid(text); },
           "Divide each frame into N for cuts between frames (default: auto)")
        ->type_name("auto|N");
    app.add_option_function<std::vector<std::string>>(
           "--media-root",
           [&options](const std::vector<std::string>& texts) {
               options.mediaRoots = MediaRoots(texts);
           },
           "Look for media files in NEW instead of OLD")
        ->type_name("OLD=NEW")
        ->take_all()
        ->allow_extra_args(false);
    app.add_flag("--allow-missing", options.allowMissing,
                 "Treat missing media files of a timeline as silence");
}

}  // namespace

std::string Spool::FolderOf(const std::string& archive) const {
    const auto at = std::find(archives.begin(), archives.end(), archive);
    return folder + "/" + std::to_string(at - archives.begin()) + ".otiod";
}

void DeclareGlobalOptions(CLI::App& app, GlobalOptions& options) {
    DeclareCacheGroup(app, options);
    DeclareReportGroup(app, options);
    DeclareProjectGroup(app, options);
}

void CheckGlobalOptions(const GlobalOptions& options) {
    if (options.noCacheDb && !(options.cacheFolder.empty() && options.databaseFile.empty())) {
        throw UsageError("--no-cache-db cannot be combined with --cache or --db");
    }
}

}  // namespace orlo::host
