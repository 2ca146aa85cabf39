// SPDX-License-Identifier: MIT
#include "host/waveform/ChannelNames.h"

#include <gtest/gtest.h>

namespace {

using orlo::host::ChannelNames;
using Names = std::vector<std::string>;

TEST(ChannelNames, AreThoseOfTheLayout) {
    EXPECT_EQ(ChannelNames("mono", 1), (Names{"M"}));
    EXPECT_EQ(ChannelNames("stereo", 2), (Names{"L", "R"}));
    EXPECT_EQ(ChannelNames("5.1", 6), (Names{"L", "R", "C", "LFE", "Ls", "Rs"}));
    EXPECT_EQ(ChannelNames("7.1", 8), (Names{"L", "R", "C", "LFE", "Lb", "Rb", "Ls", "Rs"}));
}

TEST(ChannelNames, OfALayoutThatListsThemAreTheListedNames) {
    EXPECT_EQ(ChannelNames("3 channels (FL+FR+BC)", 3), (Names{"FL", "FR", "BC"}));
}

TEST(ChannelNames, OfOneOrTwoChannelsWithoutALayoutAreThoseOfMonoAndStereo) {
    EXPECT_EQ(ChannelNames("", 1), (Names{"M"}));
    EXPECT_EQ(ChannelNames("", 2), (Names{"L", "R"}));
}

TEST(ChannelNames, OfAnUnknownLayoutOrOfAnotherCountAreNumbers) {
    EXPECT_EQ(ChannelNames("", 3), (Names{"1", "2", "3"}));
    EXPECT_EQ(ChannelNames("cube", 3), (Names{"1", "2", "3"}));
    EXPECT_EQ(ChannelNames("stereo", 3), (Names{"1", "2", "3"}));
    EXPECT_EQ(ChannelNames("3 channels (FL", 3), (Names{"1", "2", "3"}));
}

}  // namespace
