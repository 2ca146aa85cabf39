// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <numbers>

#include "tests/host/ProgramRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

constexpr int FRAME = 1920;  // samples of a frame at 48000 Hz and 25 frames a second

using Values = std::vector<std::int16_t>;

std::string Bytes(const Values& values) {
    return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(values[0])};
}

/// A WAV of @p frames sample frames at 48000 Hz.
std::string Wav(int frames, const std::function<Values(int)>& frameAt) {
    Values values;
    for (int i = 0; i < frames; ++i) {
        for (const std::int16_t value : frameAt(i)) values.push_back(value);
    }
    return Riff(Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) + Chunk("data", Bytes(values)));
}

std::string ConstantWav(int frames, std::int16_t left, std::int16_t right) {
    return Wav(frames, [&](int) { return Values{left, right}; });
}

std::string ToneWav(int frames, double hertz, double amplitude) {
    return Wav(frames, [&](int i) {
        const auto value = static_cast<std::int16_t>(
            amplitude * std::sin(2.0 * std::numbers::pi * hertz * i / 48000.0));
        return Values{value, static_cast<std::int16_t>(-value / 2)};
    });
}

/// The values of a WAV that the program wrote.
Values Samples(const std::filesystem::path& path) {
    const std::string bytes = ReadFile(path);
    const std::size_t data = bytes.find("data") + 8;
    Values values((bytes.size() - data) / 2);
    std::memcpy(values.data(), bytes.data() + data, values.size() * 2);
    return values;
}

class EditProgram : public testing::Test {
protected:
    void SetUp() override {
        WriteFile(shop_.Work("low.wav"), ToneWav(100 * FRAME, 220.0, 9000.0));
        WriteFile(shop_.Work("high.wav"), ToneWav(100 * FRAME, 1330.0, 7000.0));
        WriteFile(shop_.Work("flat.wav"), ConstantWav(100 * FRAME, 8000, -4000));
    }

    void WriteTimeline(const Json& document) {
        WriteFile(shop_.Work("edit.otio"), document.dump());
    }

    /// Two sounding tracks with a transition, effects and a nested item, and a muted one.
    void WriteEdit() {
        const Json filtered = WithOurs(
            Clip("low.wav", 10, 30),
            {{"effects", {{{"plugin", "high-pass"}, {"parameters", {{"frequencyHz", 300}}}}}},
             {"fadeIn", 5}});
        Json muted = WithOurs(Track({Clip("flat.wav", 0, 40)}, "Mu ted/\u00fc"), {{"muted", true}});
        Json document = Timeline(
            {WithOurs(Track({filtered, Dissolve(4, 4), Clip("high.wav", 20, 30)}, "Voice-1_a"),
                      {{"audioLevel", -2.5}, {"stereoBalance", 0.3}}),
             Track({Gap(5),
                    Stack({Track({Clip("high.wav", 0, 30)}), Track({Clip("low.wav", 0, 20)})})},
                   ""),
             muted});
        document["metadata"]["sonrel"] = {{"masterLevel", -1.25}};
        WriteTimeline(document);
    }

    ProgramResult Mix(std::vector<std::string> more = {}) {
        std::vector<std::string> arguments{"mix", "@edit.otio", "-o", "@out.wav", "--json"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return shop_.Run(arguments);
    }

    Values MixUndithered(std::vector<std::string> more = {}) {
        more.insert(more.end(), {"--dither", "none"});
        const ProgramResult result = Mix(more);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return Samples(shop_.Work("out.wav"));
    }

    Workshop shop_;
};

// ---- stems

TEST_F(EditProgram, StemsAreNamedByNumberAndTrack) {
    WriteEdit();

    const ProgramResult result = Mix({"--stems", "@stems"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::vector<std::string> names{"01-Voice-1_a.wav", "02-track.wav", "03-Mu_ted__.wav"};
    for (std::size_t i = 0; i < names.size(); ++i) {
        EXPECT_TRUE(std::filesystem::exists(shop_.Work("stems/" + names[i]))) << names[i];
        EXPECT_EQ(result.Json().at("stems").at(i), shop_.Work("stems/" + names[i]).string());
    }
}

TEST_F(EditProgram, StemsDoNotChangeTheMix) {
    WriteEdit();
    ASSERT_EQ(Mix({"--dither", "highpass"}).exitCode, 0);
    const std::string without = ReadFile(shop_.Work("out.wav"));

    ASSERT_EQ(Mix({"--dither", "highpass", "--stems", "@stems"}).exitCode, 0);

    EXPECT_EQ(ReadFile(shop_.Work("out.wav")), without);
}

TEST_F(EditProgram, UnditheredStemsAddUpToTheMixWithinOneStepATrack) {
    WriteEdit();

    const Values mix = MixUndithered({"--stems", "@stems"});

    const Values voice = Samples(shop_.Work("stems/01-Voice-1_a.wav"));
    const Values nested = Samples(shop_.Work("stems/02-track.wav"));
    const Values muted = Samples(shop_.Work("stems/03-Mu_ted__.wav"));
    ASSERT_EQ(mix.size(), 2u * 60 * FRAME);
    ASSERT_EQ(voice.size(), mix.size());
    ASSERT_EQ(nested.size(), mix.size());
    int worst = 0;
    int loudest = 0;
    for (std::size_t i = 0; i < mix.size(); ++i) {
        worst = std::max(worst, std::abs(voice[i] + nested[i] + muted[i] - mix[i]));
        loudest = std::max(loudest, std::abs(mix[i]));
    }
    EXPECT_LE(worst, 3);
    EXPECT_GT(loudest, 5000);
    EXPECT_LT(loudest, 32767);
    EXPECT_EQ(muted, Values(mix.size(), 0));
}

TEST_F(EditProgram, WithASoloTrackTheOtherStemsAreSilent) {
    WriteTimeline(Timeline({WithOurs(Track({Clip("flat.wav", 0, 5)}, "A"), {{"solo", true}}),
                            Track({Clip("flat.wav", 0, 5)}, "B")}));

    MixUndithered({"--stems", "@stems"});

    EXPECT_EQ(Samples(shop_.Work("stems/01-A.wav")).at(0), 8000);
    EXPECT_EQ(Samples(shop_.Work("stems/02-B.wav")), Values(2 * 5 * FRAME, 0));
}

TEST_F(EditProgram, StemsCoverTheRangeOfTheMix) {
    WriteTimeline(Timeline({Track({Clip("low.wav", 0, 20)}, "A")}));

    const Values mix = MixUndithered({"--stems", "@stems", "--from", "1000smp", "--to", "7f"});

    EXPECT_EQ(mix.size(), 2u * (7 * FRAME - 1000));
    EXPECT_EQ(Samples(shop_.Work("stems/01-A.wav")), mix);
}

TEST_F(EditProgram, AStemMayNotReplaceAnInputOrAnotherOutput) {
    std::filesystem::create_directory(shop_.Work("stems"));
    WriteFile(shop_.Work("stems/01-A.wav"), ConstantWav(FRAME, 1, 1));
    WriteTimeline(Timeline({Track({Clip("stems/01-A.wav", 0, 1)}, "A")}));

    EXPECT_EQ(Mix({"--stems", "@stems"}).exitCode, 2);
    WriteTimeline(Timeline({Track({Clip("low.wav", 0, 1)}, "A")}));
    EXPECT_EQ(Mix({"--stems", "@stems", "--meters", "@stems/01-A.wav"}).exitCode, 2);

    EXPECT_EQ(ReadFile(shop_.Work("stems/01-A.wav")), ConstantWav(FRAME, 1, 1));
}

TEST_F(EditProgram, AStemsFolderThatCannotBeCreatedFailsAndWritesNothing) {
    WriteTimeline(Timeline({Track({Clip("low.wav", 0, 1)}, "A")}));

    const ProgramResult result = Mix({"--stems", "@low.wav/stems"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_FALSE(std::filesystem::exists(shop_.Work("out.wav")));
}

// ---- compositions

TEST_F(EditProgram, ACompositionIsMixedByItsName) {
    // The item's own speed and range do not matter: its content is mixed from its first frame.
    Json sub = Named(WithRange(Stack({Track({Clip("low.wav", 4, 30)})}), 7, 10), "sub");
    sub["effects"] = std::vector<Json>{TimeWarp(2.0)};
    WriteTimeline(Timeline({Track({Gap(5), sub})}));

    const ProgramResult result = Mix({"--composition", "sub", "--dither", "none"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    const Values low = Samples(shop_.Work("low.wav"));
    EXPECT_EQ(Samples(shop_.Work("out.wav")),
              Values(low.begin() + 2 * 4 * FRAME, low.begin() + 2 * 34 * FRAME));
    EXPECT_EQ(result.Json().at("composition"), "sub");
    EXPECT_TRUE(result.Json().at("tracks").empty());
    EXPECT_GT(result.Json().at("master").at("peak").at(0), 0.2);
}

TEST_F(EditProgram, ACompositionNeedsOnlyItsMedia) {
    WriteTimeline(Timeline(
        {Track({Named(Stack({Track({Clip("low.wav", 0, 3)})}), "sub"), Clip("gone.wav", 0, 5)})}));

    EXPECT_EQ(Mix({"--composition", "sub"}).exitCode, 0);
    EXPECT_EQ(Mix().exitCode, 3);
}

TEST_F(EditProgram, AnUnknownCompositionIsWrongUsage) {
    WriteTimeline(Timeline({Track({Clip("low.wav", 0, 5)})}));

    const ProgramResult result = Mix({"--composition", "clip"});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
}

TEST_F(EditProgram, ACompositionAndAMediaFileHaveNoStems) {
    WriteEdit();

    EXPECT_EQ(Mix({"--composition", "tracks", "--stems", "@stems"}).exitCode, 2);
    EXPECT_EQ(shop_.Run({"mix", "@low.wav", "-o", "@o.wav", "--stems", "@stems"}).exitCode, 2);
    EXPECT_EQ(shop_.Run({"mix", "@low.wav", "-o", "@o.wav", "--composition", "x"}).exitCode, 2);
}

TEST_F(EditProgram, ANestedItemSoundsLikeItsContent) {
    WriteTimeline(Timeline({Track({Stack({Track({Clip("low.wav", 0, 30)})})})}));
    const Values nested = MixUndithered();

    WriteTimeline(Timeline({Track({Clip("low.wav", 0, 30)})}));

    EXPECT_EQ(nested, MixUndithered());
}

TEST_F(EditProgram, TheInPointOfANestedItemSkipsItsBeginning) {
    WriteTimeline(Timeline({Track({WithRange(Stack({Track({Clip("low.wav", 0, 30)})}), 8, 10)})}));

    const Values low = Samples(shop_.Work("low.wav"));
    EXPECT_EQ(MixUndithered(), Values(low.begin() + 2 * 8 * FRAME, low.begin() + 2 * 18 * FRAME));
}

TEST_F(EditProgram, AMutedInnerTrackIsSilent) {
    WriteTimeline(
        Timeline({Track({Stack({Track({Clip("low.wav", 0, 3)}),
                                WithOurs(Track({Clip("flat.wav", 0, 3)}), {{"muted", true}})})})}));

    const Values low = Samples(shop_.Work("low.wav"));
    EXPECT_EQ(MixUndithered(), Values(low.begin(), low.begin() + 2 * 3 * FRAME));
}

TEST_F(EditProgram, FourHundredLevelsOfNestingSoundLikeTheContent) {
    Json item = Clip("low.wav", 0, 2);
    for (int level = 0; level < 400; ++level) item = Stack({item});
    WriteTimeline(Timeline({Track({item})}));

    const Values low = Samples(shop_.Work("low.wav"));
    EXPECT_EQ(MixUndithered(), Values(low.begin(), low.begin() + 2 * 2 * FRAME));
}

// ---- retiming

TEST_F(EditProgram, RetimeChoosesTheUnitOfADuration) {
    Json clip = Clip("low.wav", 0, 40);
    clip["effects"] = std::vector<Json>{TimeWarp(2.0)};
    WriteTimeline(Timeline({Track({clip})}));

    EXPECT_EQ(Mix({"--retime", "otio"}).Json().at("samples"), 40 * FRAME);
    EXPECT_EQ(Mix({"--retime", "media"}).Json().at("samples"), 20 * FRAME);
    EXPECT_EQ(Mix({"--retime", "both"}).exitCode, 2);
}

// ---- clipping

TEST_F(EditProgram, ClippingIsReportedWithTimecodes) {
    // At 13 dB the flat media file clips on the left from frame 30 to 40: four meter blocks of 4800
    // samples, the first from 57600 and the last to 76800.
    WriteTimeline(Timeline({Track(
        {Clip("low.wav", 0, 30), WithOurs(Clip("flat.wav", 0, 10), {{"audioLevel", 13}})})}));

    const nlohmann::json master = Mix().Json().at("master");

    ASSERT_EQ(master.at("clips").size(), 1u);
    const nlohmann::json& clip = master.at("clips").at(0);
    EXPECT_EQ(clip.at("from"), "00:00:01:05");
    EXPECT_EQ(clip.at("to"), "00:00:01:15");
    EXPECT_EQ(clip.at("fromSample"), 57600);
    EXPECT_EQ(clip.at("toSample"), 76800);
    EXPECT_EQ(clip.at("channels"), "left");
    EXPECT_EQ(master.at("clippedBlocks"), (nlohmann::json{4, 0}));
}

TEST_F(EditProgram, TimecodesOfClipsCountFromTheTimelinesStart) {
    WriteTimeline(
        Timeline({Track({Gap(25), WithOurs(Clip("flat.wav", 0, 10), {{"audioLevel", 13}})})}));

    EXPECT_EQ(Mix({"--from", "20f"}).Json().at("master").at("clips").at(0).at("from"),
              "00:00:01:00");
}

// ---- info

TEST_F(EditProgram, InfoReportsTheWholeStructure) {
    WriteEdit();

    const nlohmann::json report = shop_.Run({"info", "@edit.otio", "--json"}).Json();

    const nlohmann::json& voice = report.at("tracks").at(0);
    EXPECT_EQ(voice.at("audioLevel"), -2.5);
    EXPECT_EQ(voice.at("objects").at(0).at("effects").at(0).at("plugin"), "high-pass");
    EXPECT_EQ(voice.at("objects").at(0).at("fadeIn"), 5.0);
    const nlohmann::json& transition = voice.at("transitions").at(0);
    EXPECT_EQ(transition.at("startFrame"), 26);
    EXPECT_EQ(transition.at("joinFrame"), 30);
    EXPECT_EQ(transition.at("length"), 8);
    EXPECT_EQ(transition.at("from"), 0);
    EXPECT_EQ(transition.at("to"), 1);
    EXPECT_EQ(transition.at("curve"), "equal-power");
    const nlohmann::json& nested = report.at("tracks").at(1).at("objects").at(0);
    EXPECT_TRUE(nested.at("media").is_null());
    EXPECT_EQ(nested.at("composition").at("frames"), 30);
    EXPECT_EQ(nested.at("composition").at("tracks").at(1).at("objects").at(0).at("endFrame"), 20);
    EXPECT_EQ(report.at("media").size(), 3u);
}

TEST_F(EditProgram, InfoShowsATree) {
    WriteEdit();

    const std::string text = shop_.Run({"info", "@edit.otio"}).out;

    const auto has = [&](const std::string& line) { return text.find(line) != std::string::npos; };
    EXPECT_TRUE(has("track 1 'Voice-1_a', level -2.5 dB, balance 0.3")) << text;
    EXPECT_TRUE(has("\n    effect high-pass: frequencyHz 300\n")) << text;
    EXPECT_TRUE(has("\n    fade-in of 5 frames, equal-power\n")) << text;
    EXPECT_TRUE(has("\n  frames 26 to 34: cross-fade from 'clip' to 'clip', equal-power\n"))
        << text;
    EXPECT_TRUE(has("of a nested Stack of 30 frames\n    track 1 'A1'\n      frames 0 to 30:"))
        << text;
}

TEST_F(EditProgram, InfoListsEffectsThatCannotBeCreated) {
    WriteTimeline(Timeline(
        {Track({WithOurs(Clip("low.wav", 0, 5), {{"effects", {{{"plugin", "vocoder"}}}}})})}));

    const nlohmann::json report = shop_.Run({"info", "@edit.otio", "--json"}).Json();

    EXPECT_EQ(report.at("notTakenOver").at(0).at("what"), "effect 'vocoder'");
    EXPECT_EQ(report.at("notTakenOver").at(0).at("count"), 1);
}

}  // namespace
}  // namespace sonrel_tests
