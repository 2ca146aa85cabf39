// SPDX-License-Identifier: MIT
#include "host/timeline/MediaCatalog.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "host/otio/FrameRates.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "host/shell/Timecode.h"
#include "host/timeline/Input.h"
#include "sonrel/media/input/MediaErrors.h"

namespace orlo::host {

namespace {

using zrh::media::MediaInfo;
using zrh::media::MediaStreamInfo;
using zrh::media::MediaStreamKind;

constexpr double SECONDS_PER_DAY = 24.0 * 3600.0;
/// Timecodes of one file that differ by less agree.
constexpr double MAX_TIMECODE_DIFFERENCE = 0.042;

/// A timecode that a file has, in seconds.
struct FoundStart {
    double seconds = 0.0;
    std::string text;
};

double PictureRate(const MediaInfo& info) {
    for (const MediaStreamInfo& stream : info.streams) {
        if (stream.kind == MediaStreamKind::Video && stream.frameRate > 0.0) {
            return stream.frameRate;
        }
    }
    return 0.0;
}

/// The rate of a timecode track; 0 without a timecode track.
double TrackRate(const MediaInfo& info) {
    for (const MediaStreamInfo& stream : info.streams) {
        if (stream.timecodeRate > 0.0) return stream.timecodeRate;
    }
    return 0.0;
}

/// Whether a timecode can number the frames of a picture: one of the two rates is a whole
/// multiple of the other.
bool AreCompatible(double timecodeRate, double pictureRate) {
    const double ratio = std::max(timecodeRate, pictureRate) / std::min(timecodeRate, pictureRate);
    return std::abs(ratio - std::round(ratio)) < 0.01;
}

/// The timecodes of a file as text, each once.
std::vector<std::string> TimecodeTexts(const MediaInfo& info) {
    std::vector<std::string> texts;
    const auto add = [&](const std::string& text) {
        if (text.empty() || std::find(texts.begin(), texts.end(), text) != texts.end()) return;
        texts.push_back(text);
    };
    add(info.timecode);
    for (const MediaStreamInfo& stream : info.streams) add(stream.timecode);
    return texts;
}

/// Converts the timecodes of a file.
class ClockReader {
public:
    ClockReader(const MediaInfo& info, double fps) : info_(info), fps_(fps) {}

    otio::MediaClock Read() {
        for (const MediaStreamInfo& stream : info_.streams) {
            clock_.seconds = std::max(clock_.seconds, StreamSeconds(stream));
        }
        for (const std::string& text : TimecodeTexts(info_)) AddTimecode(text);
        if (!info_.timeReference.empty()) AddTimeReference();
        if (starts_.empty() || !clock_.problem.empty()) return clock_;
        for (const FoundStart& start : starts_) {
            if (std::abs(start.seconds - starts_.front().seconds) <= MAX_TIMECODE_DIFFERENCE)
                continue;
            clock_.problem = "its timecodes " + Quoted(starts_.front().text) + " and " +
                             Quoted(start.text) + " contradict each other and are not used";
            return clock_;
        }
        clock_.start = starts_.front().seconds;
        clock_.timecode = starts_.front().text;
        return clock_;
    }

private:
    void AddTimecode(const std::string& text) {
        const double track = TrackRate(info_);
        const double picture = PictureRate(info_);
        const double rate = otio::ExactRate(track > 0.0 ? track : picture > 0.0 ? picture : fps_);
        if (picture > 0.0 && !AreCompatible(rate, picture)) {
            clock_.problem = "its timecode counts " + FormatNumber(rate, 3) +
                             " frames a second and its picture has " + FormatNumber(picture, 3) +
                             "; the timecode is not used";
            return;
        }
        const std::optional<double> frame = FrameOfTimecode(text, rate);
        if (!frame) {
            clock_.problem = "its timecode " + Quoted(text) + " does not exist at " +
                             FormatNumber(rate, 3) + " frames a second and is not used";
            return;
        }
        Add(*frame / rate, text);
    }

    void AddTimeReference() {
        const std::optional<long long> samples = ParseInteger(info_.timeReference);
        const auto sound = std::find_if(
            info_.streams.begin(), info_.streams.end(),
            [](const MediaStreamInfo& stream) { return stream.kind == MediaStreamKind::Audio; });
        if (sound == info_.streams.end() || sound->sampleRate <= 0) return;
        if (!samples || *samples < 0) {
            clock_.problem = "its time reference " + Quoted(info_.timeReference) +
                             " is not a usable number of samples and is not used";
            return;
        }
        const double seconds = static_cast<double>(*samples) / sound->sampleRate;
        Add(seconds, info_.timeReference + " samples");
    }

    void Add(double seconds, const std::string& text) {
        if (seconds < SECONDS_PER_DAY) {
            starts_.push_back({seconds, text});
        } else {
            clock_.problem = "its timecode " + Quoted(text) + " is beyond 24 hours and is not used";
        }
    }

    const MediaInfo& info_;
    const double fps_;
    otio::MediaClock clock_;
    std::vector<FoundStart> starts_;
};

}  // namespace

const MediaDescription& MediaCatalog::Describe(const std::string& path) {
    const auto [at, isNew] = descriptions_.try_emplace(path);
    MediaDescription& description = at->second;
    if (!isNew) return description;
    try {
        RequireMediaFile(path);
        std::string reason;
        const int code = zrh::media::DescribeMedia(WidePath(path), &description.info, &reason);
        if (Interrupted()) ThrowInterrupted("not all media are read");
        // The text of the code alone has no reason of the file.
        if (code != 0 && reason == zrh::media::MediaErrorText(code)) RefuseMedia(path, code);
        if (code != 0) description.problem = "cannot read " + Quoted(path) + ": " + reason;
    } catch (const JobError& error) {
        description.problem = error.what();
    }
    return description;
}

std::optional<otio::MediaClock> MediaCatalog::ClockOf(const std::string& path, double fps) {
    const MediaDescription& description = Describe(path);
    if (!description.problem.empty()) return std::nullopt;
    return host::ClockOf(description.info, fps);
}

otio::MediaClock ClockOf(const MediaInfo& info, double fps) {
    return ClockReader(info, fps).Read();
}

bool HasDropFrameTimecode(const MediaInfo& info) {
    const std::vector<std::string> texts = TimecodeTexts(info);
    return std::any_of(texts.begin(), texts.end(),
                       [](const std::string& text) { return IsDropFrameText(text); });
}

double StreamSeconds(const MediaStreamInfo& stream) {
    if (stream.kind == MediaStreamKind::Audio && stream.sampleRate > 0) {
        return static_cast<double>(stream.sampleCount) / stream.sampleRate;
    }
    return stream.frameRate > 0.0 ? static_cast<double>(stream.frameCount) / stream.frameRate : 0.0;
}

}  // namespace orlo::host
