// SPDX-License-Identifier: MIT
#include "host/measure/Loudness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace orlo::host {
namespace {

constexpr int LOUD_RATE = 8000;

/// A tone on both channels that grows for 3.25 seconds.
std::vector<short> GrowingTone() {
    std::vector<short> frames;
    for (int i = 0; i < 26000; ++i) {
        const auto value = static_cast<short>(i * std::sin(0.7 * i));
        frames.insert(frames.end(), {value, value});
    }
    return frames;
}

/// The readings after adding a signal in pieces.
std::vector<LoudnessReading> ReadingsOf(const std::vector<short>& frames, std::size_t piece) {
    LoudnessMeter meter(LOUD_RATE);
    for (std::size_t at = 0; at < frames.size() / 2; at += piece) {
        meter.Add(frames.data() + 2 * at, std::min(piece, frames.size() / 2 - at));
    }
    return meter.Readings();
}

TEST(MixLoudness, HasAReadingAtTheEndOfEachMeterBlock) {
    const std::vector<short> frames = GrowingTone();
    const std::vector<LoudnessReading> readings = ReadingsOf(frames, 26000);
    sonrel::LoudnessMeter meter(LOUD_RATE);

    // 32 blocks of 800 frames and a last block of 400.
    ASSERT_EQ(readings.size(), 33u);
    for (std::size_t i = 0; i < readings.size(); ++i) {
        meter.Add(frames.data() + 1600 * i, i < 32 ? 800 : 400);
        EXPECT_EQ(readings[i].momentary, meter.MomentaryLufs()) << i;
        EXPECT_EQ(readings[i].shortTerm, meter.ShortTermLufs()) << i;
    }
    EXPECT_EQ(readings[2].momentary, std::nullopt);
    EXPECT_NE(readings[3].momentary, std::nullopt);
    EXPECT_EQ(readings[28].shortTerm, std::nullopt);
    EXPECT_NE(readings[29].shortTerm, std::nullopt);
}

TEST(MixLoudness, HasTheSameReadingsForPiecesOfAnySize) {
    const std::vector<short> frames = GrowingTone();
    const std::vector<LoudnessReading> whole = ReadingsOf(frames, 26000);
    for (const std::size_t piece : {std::size_t{1}, std::size_t{333}, std::size_t{800}}) {
        const std::vector<LoudnessReading> readings = ReadingsOf(frames, piece);
        ASSERT_EQ(readings.size(), whole.size()) << piece;
        for (std::size_t i = 0; i < whole.size(); ++i) {
            EXPECT_EQ(readings[i].momentary, whole[i].momentary) << piece;
            EXPECT_EQ(readings[i].shortTerm, whole[i].shortTerm) << piece;
        }
    }
}

TEST(MixLoudness, AMeterBlockIsATenthOfASecond) {
    EXPECT_EQ(MeterBlockFrames(48000), 4800);
    EXPECT_EQ(MeterBlockFrames(11025), 1102);
}

}  // namespace
}  // namespace orlo::host
