// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <string_view>

namespace orlo::host::otio {

/// The exact rate that a rounded rate means: 23.98, 29.97, 47.95, 59.94 and 119.88, each with any
/// number of further digits, are 24000/1001, 30000/1001 and so on. Other rates are unchanged.
double ExactRate(double rate);

/// Whether a rate may be the frame rate of a picture, 12 to 240 frames a second. Other rates are
/// time scales, such as seconds, milliseconds and sample rates.
bool IsPictureRate(double rate);

/// A frame rate as a user writes it.
struct FrameRateText {
    double fps = 0.0;
    bool dropFrame = false;  ///< timecode omits frame numbers
};

/// Parses a frame rate: "25", "29.97", "24000/1001"; with "df" at the end drop-frame timecode, at
/// 29.97, 59.94 and 119.88 frames a second only.
/// @return nullopt when the text is not a frame rate above 0
std::optional<FrameRateText> ParseFrameRate(std::string_view text);

/// Finds the most frequent of several rates.
class RateVote {
public:
    /// Adds a rate. Rates that are not above 0 are not counted.
    void Add(double rate);

    /// The most frequent rate; of equal counts the rate that was added first.
    std::optional<double> Winner() const;

private:
    struct Count {
        std::size_t place = 0;
        std::size_t votes = 0;
    };

    std::map<double, Count> counts_;
};

}  // namespace orlo::host::otio
