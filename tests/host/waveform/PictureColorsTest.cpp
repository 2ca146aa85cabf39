// SPDX-License-Identifier: MIT
#include "host/waveform/PictureColors.h"

#include <gtest/gtest.h>

namespace {

using namespace orlo::host;
using Shade = PictureColors::Color;

constexpr Shade SOLID_WHITE{255, 255, 255, 255};
constexpr Shade SOLID_BLACK{0, 0, 0, 255};
constexpr Shade CLEAR{0, 0, 0, 0};

TEST(PictureContrast, IsTheRatioOfTheLuminances) {
    EXPECT_NEAR(Contrast(SOLID_WHITE, SOLID_BLACK), 21.0, 1e-9);
    EXPECT_NEAR(Contrast(SOLID_BLACK, SOLID_WHITE), 21.0, 1e-9);
    EXPECT_NEAR(Contrast(SOLID_WHITE, SOLID_WHITE), 1.0, 1e-9);
    // The luminance of pure red is 0.2126: (1 + 0.05) / (0.2126 + 0.05).
    EXPECT_NEAR(Contrast({255, 0, 0, 255}, SOLID_WHITE), 3.99848, 1e-4);
}

TEST(DefaultColors, AreDifferentForEightChannelsAndVisibleOnWhite) {
    const PictureColors colors = ResolveColors({}, std::nullopt);

    EXPECT_EQ(colors.background, SOLID_WHITE);
    ASSERT_EQ(colors.channels.size(), 8u);
    for (int one = 0; one < 8; ++one) {
        EXPECT_GE(Contrast(colors.OfChannel(one), SOLID_WHITE), 3.0) << one;
        for (int other = 0; other < one; ++other) {
            EXPECT_FALSE(colors.OfChannel(one) == colors.OfChannel(other)) << one << other;
        }
    }
    EXPECT_EQ(colors.OfChannel(9), colors.OfChannel(1));
}

TEST(DefaultColors, AreVisibleOnEveryOpaqueBackground) {
    for (int level = 0; level < 256; level += 15) {
        for (const Shade& background :
             {Shade{static_cast<unsigned char>(level), static_cast<unsigned char>(level),
                    static_cast<unsigned char>(level), 255},
              Shade{static_cast<unsigned char>(level), 64, 200, 255},
              Shade{31, static_cast<unsigned char>(level), 27, 255}}) {
            const PictureColors colors = ResolveColors({}, background);
            EXPECT_EQ(colors.background, background);
            for (const Shade& color : colors.channels) EXPECT_GE(Contrast(color, background), 3.0);
            EXPECT_GE(Contrast(colors.ink, background), 3.0);
            EXPECT_GE(Contrast(colors.clip, background), 3.0);
        }
    }
}

TEST(DefaultColors, AreVisibleOnWhiteAndOnBlackWhereTheBackgroundIsClear) {
    const PictureColors colors = ResolveColors({}, CLEAR);

    std::vector<Shade> all = colors.channels;
    all.push_back(colors.ink);
    all.push_back(colors.clip);
    for (const Shade& color : all) {
        EXPECT_GE(Contrast(color, SOLID_WHITE), 3.0);
        EXPECT_GE(Contrast(color, SOLID_BLACK), 3.0);
    }
}

TEST(GivenColors, StayAndChooseABackgroundOfMoreContrast) {
    EXPECT_EQ(ResolveColors({{20, 20, 90, 255}}, std::nullopt).background, SOLID_WHITE);
    EXPECT_EQ(ResolveColors({{250, 240, 90, 255}}, std::nullopt).background, SOLID_BLACK);
    const PictureColors colors = ResolveColors({{1, 2, 3, 4}, {5, 6, 7, 8}}, Shade{1, 2, 3, 255});
    EXPECT_EQ(colors.channels, (std::vector<Shade>{{1, 2, 3, 4}, {5, 6, 7, 8}}));
    EXPECT_EQ(colors.ink, (Shade{1, 2, 3, 4}));
}

TEST(MixedColors, AreWeightedByTheirAlpha) {
    EXPECT_EQ(Mix(SOLID_WHITE, SOLID_BLACK, 0), SOLID_WHITE);
    EXPECT_EQ(Mix(SOLID_WHITE, SOLID_BLACK, 255), SOLID_BLACK);
    EXPECT_EQ(Mix(SOLID_BLACK, {100, 200, 50, 255}, 51), (Shade{20, 40, 10, 255}));
    // A clear background has no colour: only the alpha is mixed.
    EXPECT_EQ(Mix(CLEAR, {100, 200, 50, 255}, 51), (Shade{100, 200, 50, 51}));
    EXPECT_EQ(Mix(CLEAR, CLEAR, 100), CLEAR);
}

TEST(ColorsOverOthers, CoverThemByAlphaAndCoverage) {
    EXPECT_EQ(Over({100, 200, 50, 255}, 255, SOLID_WHITE), (Shade{100, 200, 50, 255}));
    EXPECT_EQ(Over({100, 200, 50, 255}, 51, SOLID_BLACK), (Shade{20, 40, 10, 255}));
    EXPECT_EQ(Over({100, 200, 50, 51}, 255, SOLID_BLACK), (Shade{20, 40, 10, 255}));
    EXPECT_EQ(Over({100, 200, 50, 51}, 255, CLEAR), (Shade{100, 200, 50, 51}));
    EXPECT_EQ(Over({100, 200, 50, 0}, 255, SOLID_BLACK), SOLID_BLACK);
}

}  // namespace
