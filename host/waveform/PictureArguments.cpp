// SPDX-License-Identifier: MIT
#include "host/waveform/PictureArguments.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <string_view>

#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "sonrel/base/Timing.h"

namespace orlo::host {

namespace {

constexpr long long MAX_SIDE = 32767;
constexpr long long MAX_PIXELS = 1LL << 26;

std::optional<int> ParseSide(std::string_view text) {
    const std::optional<long long> side = ParseInteger(text);
    if (!side || *side < 1 || *side > MAX_SIDE) return std::nullopt;
    return static_cast<int>(*side);
}

std::optional<long long> ParseStreamPosition(std::string_view text, int rate) {
    constexpr std::string_view SAMPLES = "smp";
    if (text.ends_with(SAMPLES)) {
        text.remove_suffix(SAMPLES.size());
        const std::optional<long long> samples = ParseInteger(text);
        if (!samples || *samples < 0) return std::nullopt;
        return samples;
    }
    if (text.ends_with('s')) text.remove_suffix(1);
    const std::optional<double> seconds = ParseDecimal(text);
    if (!seconds) return std::nullopt;
    const long long samples = zrtl::TruncToInt64(zrtl::RoundHalfAway(*seconds * rate));
    // A negative value here is an overflow: the time is later than the end of every stream.
    return samples < 0 ? std::numeric_limits<long long>::max() : samples;
}

/// One end of a range; @p otherwise when the text is empty.
std::optional<long long> ReadEnd(std::string_view text, int rate, long long otherwise) {
    return text.empty() ? otherwise : ParseStreamPosition(text, rate);
}

/// Both ends as written in the text.
/// @throws UsageError when the text is not a range
zrtl::FrameRange ReadEnds(const std::string& text, int rate, long long samples) {
    const std::string_view view = text;
    const std::size_t colon = view.find(':');
    if (colon != std::string_view::npos) {
        const std::optional<long long> start = ReadEnd(view.substr(0, colon), rate, 0);
        const std::optional<long long> end = ReadEnd(view.substr(colon + 1), rate, samples);
        if (start && end) return {*start, *end};
    }
    throw UsageError("--range " + Quoted(text) +
                     " is not a range A:B; use seconds (12.5:20) or samples "
                     "(480000smp:960000smp)");
}

}  // namespace

bool IsPictureSize(long long width, long long height) {
    return width >= 1 && width <= MAX_SIDE && height >= 1 && height <= MAX_SIDE &&
           width * height <= MAX_PIXELS;
}

PictureSize ParsePictureSize(const std::string& text) {
    const std::size_t cross = text.find('x');
    if (cross != std::string::npos) {
        const std::string_view view = text;
        const std::optional<int> width = ParseSide(view.substr(0, cross));
        const std::optional<int> height = ParseSide(view.substr(cross + 1));
        if (width && height && IsPictureSize(*width, *height)) {
            return {*width, *height};
        }
    }
    throw UsageError("--size " + Quoted(text) + " is not WIDTHxHEIGHT with sides from 1 to " +
                     std::to_string(MAX_SIDE) + " and at most " + std::to_string(MAX_PIXELS) +
                     " pixels");
}

sonrel::WaveformPreview::Color ParseColor(const std::string& option, const std::string& text) {
    std::string_view digits = text;
    if (digits.starts_with('#')) digits.remove_prefix(1);
    unsigned value = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value, 16);
    if (error != std::errc() || stop != end || (digits.size() != 6 && digits.size() != 8)) {
        throw UsageError(option + " " + Quoted(text) +
                         " is not a colour; use RRGGBB or RRGGBBAA in hexadecimal digits");
    }
    if (digits.size() == 6) value = value << 8 | 0xFF;
    return {static_cast<unsigned char>(value >> 24), static_cast<unsigned char>(value >> 16),
            static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)};
}

std::vector<sonrel::WaveformPreview::Color> ParseColors(const std::string& option,
                                                        const std::string& text) {
    constexpr std::size_t MAX_COLORS = 16;
    std::vector<sonrel::WaveformPreview::Color> colors;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t comma = std::min(text.find(',', start), text.size());
        colors.push_back(ParseColor(option, text.substr(start, comma - start)));
        start = comma + 1;
    }
    if (colors.size() > MAX_COLORS) {
        throw UsageError(option + " has " + std::to_string(colors.size()) +
                         " colours; a picture has at most " + std::to_string(MAX_COLORS) +
                         " channels");
    }
    return colors;
}

void CheckStreamRange(const std::string& text) {
    if (!text.empty()) ReadEnds(text, 1, std::numeric_limits<long long>::max());
}

zrtl::FrameRange ParseStreamRange(const std::string& text, int rate, long long samples) {
    if (text.empty()) return {0, samples};
    const zrtl::FrameRange range = ReadEnds(text, rate, samples);
    if (range.start >= samples) {
        throw UsageError("--range " + Quoted(text) + " starts at or after the end, which is at " +
                         std::to_string(samples) + "smp (" +
                         FormatShort(static_cast<double>(samples) / rate) + "s)");
    }
    if (range.start >= range.end) {
        throw UsageError("--range " + Quoted(text) +
                         " is empty: its end is exclusive and must be later than its start");
    }
    return {range.start, std::min<long long>(range.end, samples)};
}

}  // namespace orlo::host
