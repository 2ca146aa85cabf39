// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "host/play/PlayOutput.h"

using orlo::host::PlayOutput;

namespace {

TEST(PlayOutputLimit, TheQueueLastsHalfASecondAndEightBuffers) {
    // The default buffer is 2048 samples at 48000 Hz: eight buffers last 0.34 s.
    EXPECT_DOUBLE_EQ(PlayOutput::MaxFrameRate(48000, 0), 98.0);
    // 100 ms are a buffer of 8192 samples: eight buffers last 1.365 s.
    EXPECT_DOUBLE_EQ(PlayOutput::MaxFrameRate(48000, 100), 49.0 * 48000.0 / 65536.0);
    EXPECT_DOUBLE_EQ(PlayOutput::MaxFrameRate(96000, 0), 98.0);
}

}  // namespace
