// SPDX-License-Identifier: MIT
#include "host/arrangement/TimelineImport.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string_view>
#include <utility>

#include "host/otio/JsonDocument.h"
#include "host/otio/StartTimecode.h"
#include "host/otio/TimelineParser.h"
#include "host/shell/Timecode.h"

namespace orlo::host::otio {

namespace {

namespace fs = std::filesystem;

bool EndsWith(std::string_view path, std::string_view lowerCaseEnding) {
    if (path.size() < lowerCaseEnding.size()) return false;
    path.remove_prefix(path.size() - lowerCaseEnding.size());
    return std::equal(path.begin(), path.end(), lowerCaseEnding.begin(),
                      [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a | 0x20 : a) == b; });
}

std::string WithoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

bool IsFile(const std::string& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

TimelineImport Import(const Json& document, const std::string& folder,
                      const ImportOptions& options) {
    TimelineImport import;
    Timeline timeline = ParseTimeline(document, options.soundFrom, import.report);
    const MediaResolver resolver(folder, options.mediaRoots, IsFile);
    import.name = timeline.name;
    import.media = ReferencedMediaOf(document, resolver);
    const double fps = options.rates.fps
                           ? *options.rates.fps
                           : ChooseFrameRate(timeline, import.media, options.pictureRateOf);
    FindMediaStarts(timeline, fps, resolver, options.mediaClockOf, import.report);
    import.arrangement =
        ArrangeTimeline(timeline, fps, options.rates, options.retime, resolver, import.report);
    import.arrangement.startFrame = StartFrame(timeline, fps, import.report);
    import.arrangement.dropFrame = (timeline.dropFrame || options.dropFrame) && HasDropFrame(fps);
    return import;
}

}  // namespace

bool IsTimelinePath(const std::string& path) {
    const std::string name = WithoutTrailingSlashes(path);
    return EndsWith(name, ".otio") || EndsWith(name, ".otiod");
}

std::string TimelineFile(const std::string& path) {
    fs::path file = fs::absolute(WithoutTrailingSlashes(path)).lexically_normal();
    if (EndsWith(file.string(), ".otiod")) file /= "content.otio";
    return file.string();
}

TimelineImport ImportTimeline(const std::string& path, const ImportOptions& options) {
    const std::string file = TimelineFile(path);
    return Import(ReadDocument(file), fs::path(file).parent_path().string(), options);
}

TimelineImport ImportTimelineText(std::string text, const std::string& folder,
                                  const ImportOptions& options) {
    return Import(ParseDocument(std::move(text)), folder, options);
}

}  // namespace orlo::host::otio
