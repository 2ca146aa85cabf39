// SPDX-License-Identifier: MIT
#include "host/arrangement/TimelineImport.h"

#include <filesystem>
#include <utility>

#include "host/otio/JsonDocument.h"
#include "host/otio/StartTimecode.h"
#include "host/otio/TimelinePath.h"
#include "host/parsing/TimelineParser.h"
#include "host/shell/Timecode.h"

namespace orlo::host::otio {

namespace {

namespace fs = std::filesystem;

bool IsFile(const std::string& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

TimelineImport Import(const Json& document, const std::string& folder,
                      const ImportOptions& options) {
    TimelineImport import;
    Timeline timeline = ParseTimeline(document, options.audioFrom, import.report);
    const MediaResolver resolver(folder, options.mediaRoots, IsFile);
    import.name = timeline.name;
    import.soundKind = timeline.soundKind;
    import.allTracks = timeline.allTracks;
    import.media = ReferencedMediaOf(document, resolver);
    const double fps = options.rates.fps
                           ? *options.rates.fps
                           : ChooseFrameRate(timeline, import.media, options.pictureRateOf);
    FindMediaStarts(timeline, fps, resolver, options.mediaClockOf, import.report);
    import.arrangement =
        ArrangeTimeline(timeline, {fps, options.rates, options.retime}, resolver, import.report);
    import.arrangement.startFrame = StartFrame(timeline, fps, import.report);
    import.arrangement.dropFrame = (timeline.dropFrame || options.dropFrame) && HasDropFrame(fps);
    return import;
}

}  // namespace

TimelineImport ImportTimeline(const std::string& path, const ImportOptions& options) {
    const std::string file = TimelineFile(path);
    const std::string folder =
        options.folder.empty() ? fs::path(file).parent_path().string() : options.folder;
    return Import(ReadDocument(file), folder, options);
}

TimelineImport ImportTimelineText(std::string text, const std::string& folder,
                                  const ImportOptions& options) {
    return Import(ParseDocument(std::move(text)), folder, options);
}

}  // namespace orlo::host::otio
