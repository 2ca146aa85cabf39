// SPDX-License-Identifier: MIT
#include "host/shell/Timecode.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "host/shell/Text.h"
#include "sonrel/base/Timing.h"

namespace orlo::host {

namespace {

constexpr int FIELDS = 4;
constexpr long long MINUTES_PER_HOUR = 60;

/// The fields of a timecode. Hours may have any number of digits.
struct Fields {
    double values[FIELDS] = {};
    bool dropFrame = false;
};

long long NominalRate(double fps) {
    return std::max<long long>(1, zrtl::TruncToInt64(zrtl::RoundHalfAway(fps)));
}

/// Numbers that drop-frame timecode leaves out in a minute.
long long DroppedPerMinute(double fps) {
    return NominalRate(fps) / 15;
}

std::optional<double> WholeNumber(std::string_view digits) {
    if (digits.find('.') != std::string_view::npos) return std::nullopt;
    return ParseDecimal(digits);
}

/// A semicolon is the separator before the frames of drop-frame timecode. Some programs write it
/// between the other fields too.
std::optional<Fields> ParseFields(std::string_view text) {
    Fields fields;
    for (int i = 0; i < FIELDS; ++i) {
        const bool isLast = i == FIELDS - 1;
        const std::size_t end = text.find_first_of(":;");
        if (isLast != (end == std::string_view::npos)) return std::nullopt;
        const std::optional<double> value = WholeNumber(text.substr(0, end));
        if (!value) return std::nullopt;
        fields.values[i] = *value;
        if (isLast) break;
        fields.dropFrame = text[end] == ';';
        text.remove_prefix(end + 1);
    }
    return fields;
}

}  // namespace

bool HasDropFrame(double fps) {
    const long long nominal = NominalRate(fps);
    if (nominal != 30 && nominal != 60 && nominal != 120) return false;
    // 29.97, 59.94 and 119.88 are roundings of the exact rates.
    return std::fabs(fps - static_cast<double>(nominal) * 1000.0 / 1001.0) < 0.001;
}

bool IsDropFrameText(std::string_view text) {
    const std::optional<Fields> fields = ParseFields(text);
    return fields && fields->dropFrame;
}

std::optional<double> FrameOfTimecode(std::string_view text, double fps) {
    const std::optional<Fields> fields = ParseFields(text);
    if (!fields) return std::nullopt;
    const auto [hours, minutes, seconds, frames] = fields->values;
    const auto nominal = static_cast<double>(NominalRate(fps));
    if (minutes >= 60.0 || seconds >= 60.0 || frames >= nominal) return std::nullopt;
    const double frame = ((hours * 60.0 + minutes) * 60.0 + seconds) * nominal + frames;
    if (!fields->dropFrame) return frame;
    if (!HasDropFrame(fps)) return std::nullopt;
    const auto dropped = static_cast<double>(DroppedPerMinute(fps));
    const bool isDropped = std::fmod(minutes, 10.0) != 0.0 && seconds == 0.0 && frames < dropped;
    if (isDropped) return std::nullopt;
    return frame - dropped * (hours * 54.0 + minutes - std::floor(minutes / 10.0));
}

std::string TimecodeOfFrame(long long frame, double fps, bool dropFrame) {
    const long long nominal = NominalRate(fps);
    if (dropFrame) {
        const long long dropped = DroppedPerMinute(fps);
        const long long perMinute = 60 * nominal - dropped;
        const long long perTenMinutes = 10 * perMinute + dropped;
        const long long inTenMinutes = frame % perTenMinutes;
        // The first minute of ten has all its numbers.
        const long long minutes = std::max(0LL, (inTenMinutes - dropped) / perMinute);
        frame += dropped * (frame / perTenMinutes * 9 + minutes);
    }
    const long long seconds = frame / nominal;
    char text[80];
    std::snprintf(text, sizeof(text), "%02lld:%02lld:%02lld%c%02lld", seconds / 3600,
                  seconds / 60 % MINUTES_PER_HOUR, seconds % 60, dropFrame ? ';' : ':',
                  frame % nominal);
    return text;
}

std::string ClockText(long long seconds) {
    char text[64];
    if (seconds >= 3600) {
        std::snprintf(text, sizeof(text), "%lld:%02lld:%02lld", seconds / 3600, seconds / 60 % 60,
                      seconds % 60);
    } else {
        std::snprintf(text, sizeof(text), "%lld:%02lld", seconds / 60, seconds % 60);
    }
    return text;
}

}  // namespace orlo::host
