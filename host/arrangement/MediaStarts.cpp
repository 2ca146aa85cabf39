// SPDX-License-Identifier: MIT
#include "host/arrangement/MediaStarts.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <vector>

#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

/// Starts of one file that differ by less, about a frame at 24 frames a second, agree.
constexpr double MAX_START_DIFFERENCE = 0.042;
constexpr double RANGE_TOLERANCE = 0.0005;

/// The clips of a media file, with a source_range.
using Clips = std::vector<Item*>;

double SecondsOf(const RationalTime& time) {
    return time.value / time.rate;
}

/// Whether a range starts at a time that can be converted without a guess.
bool HasTime(const TimeRange& range) {
    return range.start.rate > 0.0 && std::isfinite(SecondsOf(range.start));
}

double InPoint(const Item& item) {
    return SecondsOf(item.sourceRange->start);
}

const TimeRange* AvailableRange(const Item& item) {
    return item.media->availableRange ? &*item.media->availableRange : nullptr;
}

bool IsInside(double seconds, double begin, double length) {
    return seconds > begin - RANGE_TOLERANCE && seconds < begin + length - RANGE_TOLERANCE;
}

/// Finds the clips of each local media file, nested clips included, in the order of the timeline.
class ClipsOfFiles {
public:
    explicit ClipsOfFiles(const MediaResolver& resolver) : resolver_(resolver) {}

    void Add(std::vector<Track>& tracks) {
        for (Track& track : tracks) {
            if (!track.sounds) continue;
            for (Item& item : track.items) {
                if (item.kind == Item::Kind::Clip) Add(item);
                Add(item.tracks);
            }
        }
    }

    struct File {
        std::string path;
        Clips clips;
    };
    const std::vector<File>& Files() const { return files_; }

private:
    void Add(Item& item) {
        if (!item.media || item.media->url.empty() || !item.sourceRange) return;
        if (!HasTime(*item.sourceRange)) return;
        const TimeRange* available = AvailableRange(item);
        if (available != nullptr && !HasTime(*available)) return;
        const MediaLocation location = resolver_.Resolve(item.media->url);
        if (!location.problem.empty()) return;
        const auto [at, isNew] = index_.try_emplace(location.path, files_.size());
        if (isNew) files_.push_back({location.path, {}});
        files_[at->second].clips.push_back(&item);
    }

    const MediaResolver& resolver_;
    std::map<std::string, std::size_t> index_;
    std::vector<File> files_;
};

/// Sets the starts of one media file.
class FileStart {
public:
    FileStart(const Clips& clips, ImportReport& report) : clips_(clips), report_(report) {
        for (const Item* item : clips) {
            const TimeRange* available = AvailableRange(*item);
            if (available == nullptr) {
                // A clip that begins with its file needs no other start.
                isOpen_ = isOpen_ || std::abs(InPoint(*item)) > RANGE_TOLERANCE;
                continue;
            }
            const double start = SecondsOf(available->start);
            if (!hasRange_) first_ = start;
            hasRange_ = true;
            if (contradicts_ || std::abs(start - first_) <= MAX_START_DIFFERENCE) continue;
            contradicts_ = true;
            other_ = start;
        }
    }

    /// Whether the clock of the file is needed.
    bool IsOpen() const { return isOpen_ || contradicts_; }

    void Apply(const MediaClock& clock) {
        if (!clock.problem.empty()) {
            report_.Add("media file", clips_.front()->place, clock.problem);
        }
        if (contradicts_ && !clock.start) {
            report_.Add("media file", clips_.front()->place,
                        "the available_range of its clips begins at " + FormatNumber(first_, 3) +
                            " s and at " + FormatNumber(other_, 3) +
                            " s, and the file has no timecode that decides; each clip counts from "
                            "its own range");
        }
        if (!clock.start) return;
        for (Item* item : clips_) {
            if (AvailableRange(*item) == nullptr) {
                Guess(*item, clock);
            } else if (contradicts_) {
                Decide(*item, clock);
            }
        }
    }

private:
    void Guess(Item& item, const MediaClock& clock) {
        const double inPoint = InPoint(item);
        if (IsInside(inPoint, 0.0, clock.seconds)) return;
        if (!IsInside(inPoint, *clock.start, clock.seconds)) return;
        SetStart(item, clock);
        report_.Add(
            "clip", item.place,
            "it has no available_range and its in-point is outside the file; as a guess, it "
            "counts from the timecode of the file, " +
                clock.timecode);
    }

    void Decide(Item& item, const MediaClock& clock) {
        if (std::abs(SecondsOf(AvailableRange(item)->start) - *clock.start) <= MAX_START_DIFFERENCE)
            return;
        if (IsInside(InPoint(item), *clock.start, clock.seconds)) {
            SetStart(item, clock);
            report_.Add("clip", item.place,
                        "its available_range contradicts that of other clips of its media file; it "
                        "counts from the timecode of the file, " +
                            clock.timecode);
        } else {
            report_.Add("clip", item.place,
                        "its available_range contradicts that of other clips of its media file; it "
                        "counts from its own range, because its in-point is outside the timecode "
                        "of the file, which begins at " +
                            clock.timecode);
        }
    }

    static void SetStart(Item& item, const MediaClock& clock) {
        item.media->availableRange = TimeRange{{*clock.start, 1.0}, {clock.seconds, 1.0}};
    }

    const Clips& clips_;
    ImportReport& report_;
    bool isOpen_ = false;
    bool hasRange_ = false;
    bool contradicts_ = false;
    double first_ = 0.0;  ///< start of the first available_range, in seconds
    double other_ = 0.0;  ///< the first start that contradicts it
};

}  // namespace

void FindMediaStarts(Timeline& timeline, double fps, const MediaResolver& resolver,
                     const MediaClockOf& clockOf, ImportReport& report) {
    if (!clockOf) return;
    ClipsOfFiles files(resolver);
    files.Add(timeline.tracks);
    for (const ClipsOfFiles::File& file : files.Files()) {
        FileStart start(file.clips, report);
        if (!start.IsOpen()) continue;
        if (const std::optional<MediaClock> clock = clockOf(file.path, fps)) start.Apply(*clock);
    }
}

}  // namespace orlo::host::otio
