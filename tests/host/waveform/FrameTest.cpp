// SPDX-License-Identifier: MIT
#include "host/waveform/Frame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "host/shell/Errors.h"

namespace {

using namespace orlo::host;
using FrameStyle = orlo::sonrel::WaveformPreview::Style;

/// Two channels at 1000 Hz, of which the first second is shown.
class PictureFrame : public testing::Test {
protected:
    PictureFrame() {
        options_.size = {400, 220};
        options_.style = FrameStyle::ChannelLanes;
        content_.rate = 1000;
        content_.channels = 2;
        content_.shown = {0, 1000};
        content_.names = {"L", "LFE"};
    }

    Frame LayOut() const {
        return LayOutFrame(options_, ResolveColors({}, std::nullopt), content_, NominalWidth);
    }

    static std::vector<FrameLabel> LabelsOf(const Frame& frame, const char* kind) {
        std::vector<FrameLabel> labels;
        for (const FrameLabel& label : frame.labels) {
            if (std::strcmp(label.kind, kind) == 0) labels.push_back(label);
        }
        return labels;
    }

    static std::vector<FrameMark> ClipsOf(const Frame& frame) {
        std::vector<FrameMark> marks;
        for (const FrameMark& mark : frame.marks) {
            if (std::strcmp(mark.kind, "clip") == 0) marks.push_back(mark);
        }
        return marks;
    }

    WaveformOptions options_;
    FrameContent content_;
};

TEST_F(PictureFrame, WithoutPartsTheWaveformIsTheWholePicture) {
    const Frame frame = LayOut();

    EXPECT_FALSE(HasFrame(options_));
    EXPECT_EQ(frame.waveform.left, 0);
    EXPECT_EQ(frame.waveform.width, 400);
    EXPECT_EQ(frame.waveform.height, 220);
    EXPECT_TRUE(frame.marks.empty());
    EXPECT_TRUE(frame.labels.empty());
}

TEST_F(PictureFrame, TheRulerHasTheLowest20RowsAndTheTimesOfTheWaveform) {
    options_.ruler = options_.names = true;

    const Frame frame = LayOut();

    // Three letters of 7 pixels and a margin of 4 on both sides.
    EXPECT_EQ(frame.waveform.left, 29);
    EXPECT_EQ(frame.waveform.width, 371);
    EXPECT_EQ(frame.waveform.height, 200);
    const std::vector<FrameLabel> times = LabelsOf(frame, "time");
    ASSERT_GE(times.size(), 2u);
    EXPECT_EQ(times[0].text, "0:00.0");
    EXPECT_DOUBLE_EQ(times[0].x, 29.0 + 3.0);
    EXPECT_EQ(times[0].baseline, 217);
    // 0.2 s are 74.2 pixels; 0.1 s would be fewer than a label needs.
    EXPECT_EQ(times[1].text, "0:00.2");
    EXPECT_DOUBLE_EQ(times[1].x, 29.0 + 74.2 + 3.0);
}

TEST_F(PictureFrame, NamesAreInTheMiddleOfTheirLanesInTheColoursOfTheChannels) {
    options_.names = true;

    const std::vector<FrameLabel> names = LabelsOf(LayOut(), "name");

    ASSERT_EQ(names.size(), 2u);
    const PictureColors colors = ResolveColors({}, std::nullopt);
    EXPECT_EQ(names[0].text, "L");
    EXPECT_EQ(names[0].color, colors.OfChannel(0));
    EXPECT_EQ(names[1].color, colors.OfChannel(1));
    // The baselines of the lanes are on rows 55 and 165.
    EXPECT_NEAR(names[0].baseline - 4, 55, 1);
    EXPECT_NEAR(names[1].baseline - 4, 165, 1);
}

TEST_F(PictureFrame, NamesOfOverlaidChannelsAreOneBelowAnother) {
    options_.names = true;
    options_.style = FrameStyle::ChannelsOverlaid;

    const std::vector<FrameLabel> names = LabelsOf(LayOut(), "name");

    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(names[1].baseline - names[0].baseline, LABEL_ROWS);
}

TEST_F(PictureFrame, LabelsOfAmplitudesAreLeftOfTheWaveformAndNeverOverlap) {
    for (const FrameStyle style :
         {FrameStyle::ChannelLanes, FrameStyle::ChannelsOverlaid, FrameStyle::RMSEnvelope}) {
        for (const int height : {60, 221, 1000}) {
            options_.style = style;
            options_.size.height = height;
            options_.axis = AmplitudeUnit::Decibels;

            const Frame frame = LayOut();

            int free = 0;
            for (const FrameLabel& label : LabelsOf(frame, "amplitude")) {
                EXPECT_GE(label.x, 0.0);
                EXPECT_LT(label.x + NominalWidth(label.text), frame.waveform.left - 3);
                EXPECT_GE(label.baseline - LABEL_PIXELS + 1, free);
                free = label.baseline;
            }
            EXPECT_GT(free, 0);
            EXPECT_LE(free, height);
        }
    }
}

TEST_F(PictureFrame, AClippedStretchIsMarkedAtTheTopOfItsLaneWithTwoPixelsOrMore) {
    options_.clips = true;
    content_.clipped = {{{100, 101}}, {{500, 750}}};

    const std::vector<FrameMark> clips = ClipsOf(LayOut());

    ASSERT_EQ(clips.size(), 2u);
    EXPECT_DOUBLE_EQ(clips[0].x, 40.0);
    EXPECT_DOUBLE_EQ(clips[0].width, 2.0);
    EXPECT_EQ(clips[0].y, 0);
    EXPECT_DOUBLE_EQ(clips[1].x, 200.0);
    EXPECT_DOUBLE_EQ(clips[1].width, 100.0);
    EXPECT_EQ(clips[1].y, 110);
    EXPECT_EQ(clips[1].height, CLIP_ROWS);
}

TEST_F(PictureFrame, MarksThatTouchAreOneMarkAndNoneLeavesThePicture) {
    options_.clips = true;
    options_.style = FrameStyle::RMSEnvelope;
    content_.clipped = {{{0, 10}, {11, 20}, {999, 1000}}};

    const std::vector<FrameMark> clips = ClipsOf(LayOut());

    ASSERT_EQ(clips.size(), 2u);
    EXPECT_DOUBLE_EQ(clips[0].x, 0.0);
    EXPECT_DOUBLE_EQ(clips[0].width, 8.0);
    EXPECT_DOUBLE_EQ(clips[1].x + clips[1].width, 400.0);
}

TEST_F(PictureFrame, PartsThatDoNotFitAreRefused) {
    options_.names = true;
    options_.size = {29, 220};
    EXPECT_THROW(LayOut(), UsageError);
    options_.size = {30, 26};
    EXPECT_EQ(LayOut().waveform.width, 1);
    options_.size = {30, 25};
    EXPECT_THROW(LayOut(), UsageError);
}

}  // namespace
