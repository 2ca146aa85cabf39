// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/arrangement/Arrangement.h"
#include "host/shell/Summary.h"
#include "host/timeline/Positions.h"

/// The content of a report. Times are in seconds from the left edge of the page. Names and texts
/// are as in the timeline; the writer of the page escapes them.
namespace orlo::host {

/// The waveform of a clip in equal parts: the smallest and the largest value of all channels in
/// each, full scale 127. Empty for a clip without sound.
struct Envelope {
    std::vector<signed char> low;
    std::vector<signed char> high;
};

struct PageLane;

/// A clip or a nested item.
struct PageClip {
    std::string id;  ///< name of its element
    std::string name;
    std::vector<std::string> details;  ///< lines
    double start = 0.0;
    double end = 0.0;
    double speed = 1.0;
    bool muted = false;
    bool missing = false;    ///< its media file is missing
    bool soundless = false;  ///< its media file does not have the sound that it uses
    otio::Fades fades;       ///< seconds
    Envelope wave;
    bool isNested = false;
    std::vector<PageLane> lanes;               ///< of a nested item
    const otio::PlacedClip* placed = nullptr;  ///< null for the clip of a media file
};

struct PageTransition {
    std::string id;
    std::vector<std::string> details;
    double start = 0.0;
    double end = 0.0;
};

struct PageLane {
    std::string id;
    std::string name;
    std::vector<std::string> marks;  ///< "muted", "solo", "level -3 dB"
    bool silent = false;             ///< it is not heard
    std::vector<PageClip> clips;
    std::vector<PageTransition> transitions;
};

/// The master levels at equal steps.
struct PageCurves {
    double step = 0.1;                             ///< seconds of a point
    std::vector<std::optional<double>> peaks;      ///< dB in each step; empty for silence
    std::vector<std::optional<double>> shortTerm;  ///< LUFS at the end of each step
    std::optional<double> integrated;              ///< LUFS of the whole page
};

/// A stretch in which the master clips.
struct PageClipMark {
    double start = 0.0;
    double end = 0.0;
    std::string text;
};

/// A place that an entry of the import report names.
struct PagePlace {
    std::string text;
    std::string id;  ///< of the element on a lane; empty when no lane shows the place
};

struct PageEntry {
    otio::Severity severity = otio::Severity::Change;
    std::string what;
    std::string reason;
    int count = 0;
    std::vector<PagePlace> places;
    bool hasMore = false;  ///< more places than listed
};

struct ReportPage {
    std::string title;
    std::vector<std::pair<std::string, std::string>> info;  ///< name and value
    std::vector<SummaryRow> summary;
    std::vector<std::pair<std::string, std::string>> loudness;  ///< name and value
    FrameGrid grid;
    double from = 0.0;      ///< position of the left edge on the timeline
    double duration = 0.0;  ///< 0 for a timeline with nothing in it
    PageCurves curves;
    std::vector<PageClipMark> clipMarks;
    std::vector<PageLane> lanes;
    std::vector<PageEntry> entries;
};

}  // namespace orlo::host
