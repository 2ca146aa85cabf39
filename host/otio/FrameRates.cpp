// SPDX-License-Identifier: MIT
#include "host/otio/FrameRates.h"

#include <cmath>

#include "host/shell/Text.h"

namespace orlo::host::otio {

namespace {

constexpr double MIN_PICTURE_RATE = 12.0;
constexpr double MAX_PICTURE_RATE = 240.0;
/// Half of the last digit of a rate with two decimals.
constexpr double ROUNDING = 0.005;

constexpr double NtscRate(double nominal) {
    return nominal * 1000.0 / 1001.0;
}

/// A number, or a fraction such as 24000/1001.
std::optional<double> ParseNumber(std::string_view text) {
    const std::size_t slash = text.find('/');
    const std::optional<double> number = ParseDecimal(text.substr(0, slash));
    if (slash == std::string_view::npos || !number) return number;
    const std::optional<double> divisor = ParseDecimal(text.substr(slash + 1));
    if (!divisor || *divisor == 0.0) return std::nullopt;
    return *number / *divisor;
}

bool HasDropFrameTimecode(double fps) {
    return fps == NtscRate(30.0) || fps == NtscRate(60.0) || fps == NtscRate(120.0);
}

}  // namespace

double ExactRate(double rate) {
    for (const double nominal : {24.0, 30.0, 48.0, 60.0, 120.0}) {
        if (std::abs(rate - NtscRate(nominal)) < ROUNDING) return NtscRate(nominal);
    }
    return rate;
}

bool IsPictureRate(double rate) {
    return rate >= MIN_PICTURE_RATE && rate <= MAX_PICTURE_RATE;
}

std::optional<FrameRateText> ParseFrameRate(std::string_view text) {
    FrameRateText rate;
    if (text.ends_with("df")) {
        rate.dropFrame = true;
        text.remove_suffix(2);
    }
    const std::optional<double> number = ParseNumber(text);
    if (!number || !std::isfinite(*number) || !(*number > 0.0)) return std::nullopt;
    rate.fps = ExactRate(*number);
    if (rate.dropFrame && !HasDropFrameTimecode(rate.fps)) return std::nullopt;
    return rate;
}

void RateVote::Add(double rate) {
    if (!(rate > 0.0)) return;
    const std::size_t next = counts_.size();
    ++counts_.try_emplace(rate, Count{next, 0}).first->second.votes;
}

std::optional<double> RateVote::Winner() const {
    std::optional<double> winner;
    Count best;
    for (const auto& [rate, count] : counts_) {
        const bool wins =
            count.votes > best.votes || (count.votes == best.votes && count.place < best.place);
        if (!wins) continue;
        winner = rate;
        best = count;
    }
    return winner;
}

}  // namespace orlo::host::otio
