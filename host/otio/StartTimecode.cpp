// SPDX-License-Identifier: MIT
#include "host/otio/StartTimecode.h"

#include <algorithm>
#include <cmath>

#include "host/otio/Fields.h"
#include "host/otio/FrameRates.h"
#include "host/shell/Timecode.h"
#include "sonrel/base/Timing.h"

namespace orlo::host::otio {

namespace {

constexpr double SECONDS_PER_DAY = 24.0 * 3600.0;

void NoteUnusable(ImportReport& report) {
    report.Add("global_start_time", {}, "it is not a usable time; timecodes count from 0",
               Severity::Note);
}

std::optional<double> NumberOf(const Json& object, const char* key) {
    const Json* member = Member(object, key);
    if (member == nullptr || !member->IsNumber()) return std::nullopt;
    return member->AsNumber();
}

/// Whether a value contains a text that is a drop-frame timecode, or a display format that requests
/// it.
bool ContainsDropFrameTimecode(const Json& value) {
    if (value.IsString()) return IsDropFrameText(value.AsString());
    if (value.IsArray()) {
        const Json::Items& items = value.AsArray();
        return std::any_of(items.begin(), items.end(), ContainsDropFrameTimecode);
    }
    if (!value.IsObject()) return false;
    if (StringMember(value, "displayformat") == "DF") return true;
    const Json::Members& members = value.AsObject();
    return std::any_of(members.begin(), members.end(), [](const Json::Member& member) {
        return ContainsDropFrameTimecode(member.value);
    });
}

bool HasDropFrameMetadata(const Json& object) {
    const Json* metadata = Member(object, "metadata");
    return metadata != nullptr && ContainsDropFrameTimecode(*metadata);
}

}  // namespace

void ParseStartTimecode(const Json& object, Timeline& timeline, ImportReport& report) {
    const Json* stack = Member(object, "tracks");
    timeline.dropFrame =
        HasDropFrameMetadata(object) || (stack != nullptr && HasDropFrameMetadata(*stack));
    const Json* start = Member(object, "global_start_time");
    if (start == nullptr || start->IsNull()) return;
    const std::optional<double> value = NumberOf(*start, "value");
    const std::optional<double> rate = NumberOf(*start, "rate");
    if (!value || (*value != 0.0 && !(rate && *rate > 0.0))) return NoteUnusable(report);
    timeline.startTime = {*value, ExactRate(rate.value_or(0.0))};
}

long long StartFrame(const Timeline& timeline, double fps, ImportReport& report) {
    const RationalTime& start = timeline.startTime;
    if (start.value == 0.0) return 0;
    const double seconds = start.value / start.rate;
    if (!(seconds > 0.0 && seconds < SECONDS_PER_DAY)) {
        NoteUnusable(report);
        return 0;
    }
    return zrtl::TruncToInt64(zrtl::RoundHalfAway(seconds * fps));
}

}  // namespace orlo::host::otio
