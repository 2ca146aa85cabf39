// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <sstream>

#include "tests/host/NumberedSound.h"
#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"

namespace sonrel_tests {
namespace {

/// The lines of a text from "summary" on; empty without a summary at its end.
std::string SummaryOf(const std::string& text) {
    const std::size_t at = text.rfind("\nsummary\n");
    return at == std::string::npos ? std::string() : text.substr(at + 1);
}

/// The parts that are not imported, of the text of info.
std::string ListOf(const std::string& text) {
    const std::size_t list = text.find("\nnot imported, or changed:\n");
    return text.substr(std::min(list, text.size()));
}

std::size_t LongestLine(const std::string& text) {
    std::istringstream lines(text);
    std::size_t longest = 0;
    for (std::string line; std::getline(lines, line);) longest = std::max(longest, line.size());
    return longest;
}

/// Media files of 100 frames at 25 frames a second.
class InfoSummaryProgram : public testing::Test {
protected:
    void SetUp() override { WriteFile(shop_.Work("n.wav"), NumberedWave()); }

    ProgramResult Info(const Json& document) {
        WriteFile(shop_.Work("edit.otio"), document.dump());
        return shop_.Run({"info", "@edit.otio", "--allow-missing"});
    }

    Workshop shop_;
};

TEST_F(InfoSummaryProgram, ATimelineWithoutFaultsNeedsNoAttention) {
    const ProgramResult result =
        Info(Timeline({Track({Clip("n.wav", 0, 50), Clip("n.wav", 50, 50)})}));

    EXPECT_EQ(SummaryOf(result.out),
              "summary\n"
              "  right      2 clips have their whole sound\n"
              "  attention  nothing\n");
}

TEST_F(InfoSummaryProgram, EndsWithWhatIsRightWhatNeedsAttentionAndWhatToDo) {
    Json blurred = Clip("n.wav", 0, 50);
    blurred["effects"] = {{{"OTIO_SCHEMA", "Effect.1"}, {"effect_name", "Blur"}}};
    const ProgramResult result = Info(Timeline(
        {Track({blurred, Clip("n.wav", 80, 40), Clip("n.wav", 90, 20), Clip("gone.wav", 0, 10),
                Clip("gone.wav", 0, 20), WithOurs(Clip("n.wav", 0, 10), {{"muted", true}})}),
         Track({WithOurs(Clip("n.wav", 0, 10), {{"channels", "5"}})})}));

    // The clip that lacks most asks for frames 80 to 120 of 100: 20 frames, 0.8 s.
    EXPECT_EQ(SummaryOf(result.out),
              "summary\n"
              "  right      1 of 6 clips has its whole sound; 1 is muted\n"
              "  attention  1 media file is missing: 2 clips are silent\n"
              "  to do      --media-root OLD=NEW finds missing files, --allow-missing mixes\n"
              "             without them\n"
              "  attention  1 clip is silent: its media file does not have the sound that it\n"
              "             uses\n"
              "  to do      choose a stream or a channel that exists; 'sonrel info' lists them\n"
              "  attention  2 clips ask for more than their media files have: silent for up to\n"
              "             0.8 s\n"
              "  to do      shorten the clips, or link the right media files; the timecodes are\n"
              "             in the list\n"
              "  attention  1 part is not imported, changed or guessed: effect 'Blur' (1)\n"
              "  to do      compare with the edit; the places and reasons are in the list\n");
}

TEST_F(InfoSummaryProgram, NotesNeedNoAttention) {
    const ProgramResult result = Info(Timeline(
        {Track({Clip("n.wav", 0, 10)}, "V1", "Video"), Track({Clip("n.wav", 0, 50)}), Track({})}));

    EXPECT_NE(result.out.find("not imported, or changed:\n  video track, track 1 'V1': "),
              std::string::npos)
        << result.out;
    EXPECT_EQ(SummaryOf(result.out),
              "summary\n"
              "  right      1 clip has its whole sound\n"
              "  attention  nothing\n");
}

TEST_F(InfoSummaryProgram, TracksThatAreMutedOrNotSoloAreCounted) {
    const ProgramResult result =
        Info(Timeline({WithOurs(Track({Clip("n.wav", 0, 50)}), {{"solo", true}}),
                       Track({Clip("n.wav", 0, 50)}), Track({Clip("n.wav", 0, 50)})}));

    EXPECT_NE(SummaryOf(result.out)
                  .find("  right      2 of 3 tracks are silent: muted, or other tracks are solo\n"),
              std::string::npos)
        << result.out;
}

TEST_F(InfoSummaryProgram, ATimelineWithoutClipsNeedsAttention) {
    const ProgramResult result = Info(Timeline({Track({Gap(50)})}));

    EXPECT_NE(SummaryOf(result.out).find("attention  the timeline has no clip with sound\n"),
              std::string::npos)
        << result.out;
}

TEST_F(InfoSummaryProgram, AMediaFileHasASummaryToo) {
    const ProgramResult result = shop_.Run({"info", "@n.wav"});

    EXPECT_EQ(SummaryOf(result.out),
              "summary\n"
              "  right      the sound can be read: 0:00:04.000\n"
              "  attention  nothing\n");
}

TEST_F(InfoSummaryProgram, ManyEntriesFitInto80Columns) {
    std::vector<Json> clips;
    for (int i = 0; i < 6; ++i) {
        Json clip = Clip("n.wav", 0, 10);
        clip["effects"].push_back(
            {{"OTIO_SCHEMA", "Effect.1"},
             {"effect_name", "A plug-in with a long name, number " + std::to_string(i)}});
        clips.push_back(clip);
    }

    const ProgramResult result = Info(Timeline({Track(clips)}));
    const std::string summary = SummaryOf(result.out);

    EXPECT_LE(LongestLine(ListOf(result.out)), 80u) << result.out;
    EXPECT_NE(summary.find("6 parts are not imported, changed or guessed: effect 'A"),
              std::string::npos)
        << summary;
    EXPECT_NE(summary.find(" and others\n"), std::string::npos) << summary;
    EXPECT_LE(LongestLine(summary), 80u) << summary;
}

}  // namespace
}  // namespace sonrel_tests
