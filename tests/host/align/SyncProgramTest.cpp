// SPDX-License-Identifier: MIT

// A shooting day: a recorder and cameras, whose files are made by the ffmpeg program.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "tests/host/ShellRun.h"
#include "tests/host/align/AlignRig.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;

/// The part of a sound from a time on. Before its beginning it is silent.
Sound Part(const Sound& sound, double from, double seconds) {
    Sound part(static_cast<std::size_t>(seconds * RATE), 0.0);
    const auto first = static_cast<long long>(from * RATE);
    for (std::size_t i = 0; i < part.size(); ++i) {
        const long long at = first + static_cast<long long>(i);
        if (at >= 0 && at < static_cast<long long>(sound.size())) {
            part[i] = sound[static_cast<std::size_t>(at)];
        }
    }
    return part;
}

class SyncProgram : public AlignProgram {
protected:
    void WriteInFolder(const std::string& name, const Sound& sound) {
        fs::create_directories(shop_.Work(name).parent_path());
        Write(name, sound);
    }

    /// Writes a file of a camera at 25 frames a second, with or without sound.
    void Film(const std::string& name, double seconds, const Sound& sound) {
        WriteInFolder("sound.wav", sound.empty() ? Sound(1, 0.0) : sound);
        fs::create_directories(shop_.Work(name).parent_path());
        const std::string source = "color=s=64x48:r=25:d=" + std::to_string(seconds);
        const std::string inputs =
            "-f lavfi -i " + source + (sound.empty() ? "" : " -i sound.wav -c:a pcm_s16le");
        const std::string command = "cd '" + shop_.Work("").string() +
                                    "' && ffmpeg -nostdin -v error -y " + inputs + " -c:v mpeg4 '" +
                                    name + "' && rm sound.wav";
        ASSERT_EQ(std::system(command.c_str()), 0);
    }

    ProgramResult Sync(std::vector<std::string> more) {
        std::vector<std::string> arguments{"sync", "--rate", std::to_string(RATE)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return shop_.Run(arguments);
    }

    nlohmann::json TracksOf(const std::string& timeline) {
        return nlohmann::json::parse(ReadFile(shop_.Work(timeline))).at("tracks").at("children");
    }
};

/// "Gap 200@25, a1 200@25": the items of a track with their durations and rates.
std::string ItemsOf(const nlohmann::json& track) {
    std::string text;
    for (const nlohmann::json& item : track.at("children")) {
        const nlohmann::json& duration = item.at("source_range").at("duration");
        const bool isGap = item.at("OTIO_SCHEMA") == "Gap.1";
        text += (text.empty() ? "" : ", ") +
                (isGap ? std::string("Gap") : item.at("name").get<std::string>()) + " " +
                duration.at("value").dump() + "@" + duration.at("rate").dump();
    }
    return track.at("kind").get<std::string>() + " " + track.at("name").get<std::string>() + ": " +
           text;
}

// ---- a whole day

/// The recorder runs from 0 s to 34 s. Camera A has two takes, from 5.01 s and from 16 s on. Camera
/// B starts 3 s before the recorder. Times before the start of the recorder are negative.
class SyncedDay : public SyncProgram {
protected:
    void SetUp() override {
        const Sound event = Talk(30, 1);  // from 2 s to 32 s
        const auto heard = [&](double from, double seconds, unsigned int seed) {
            return With(Hiss(seconds, seed), Part(event, from - 2.0, seconds), 0.0);
        };
        WriteInFolder("day/recorder/long.wav", heard(0.0, 34.0, 2));
        WriteInFolder("day/recorder/short.wav", heard(20.0, 6.0, 3));
        takes_ = {heard(5.01, 8.0, 4), heard(16.0, 8.0, 5)};
        Film("day/a/a1.mov", 8.0, takes_[0]);
        Film("day/a/a2.mov", 8.0, takes_[1]);
        Film("day/b/b1.mov", 40.0, heard(-3.0, 40.0, 6));
        WriteFile(shop_.Work("day/a/a1.xml"), "<sidecar/>");
    }

    std::vector<Sound> takes_;
};

TEST_F(SyncedDay, TheTimelineHasPictureTracksAndSoundTracksInSync) {
    const ProgramResult result = Sync({"@day", "--otio", "@day.otio", "--json"});

    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.Json().at("reference"), shop_.Work("day/recorder/long.wav").string());
    EXPECT_EQ(result.Json().at("ignored"),
              nlohmann::json::array({shop_.Work("day/a/a1.xml").string()}));
    EXPECT_EQ(result.Json().at("results").size(), 4U);
    const nlohmann::json tracks = TracksOf("day.otio");
    ASSERT_EQ(tracks.size(), 6U);
    // Time 0 is the start of camera B, 3 s before the recorder. Take 1 starts at 8.01 s, which is
    // sample frame 64080 and picture frame 200.25.
    EXPECT_EQ(ItemsOf(tracks.at(0)), "Video a: Gap 200@25, a1 200@25, Gap 75@25, a2 200@25");
    EXPECT_EQ(ItemsOf(tracks.at(1)), "Video b: b1 1000@25");
    EXPECT_EQ(ItemsOf(tracks.at(2)), "Audio recorder: Gap 24000@8000, long 272000@8000");
    EXPECT_EQ(ItemsOf(tracks.at(3)), "Audio recorder: Gap 184000@8000, short 48000@8000");
    EXPECT_EQ(ItemsOf(tracks.at(4)),
              "Audio a: Gap 64080@8000, a1 64000@8000, Gap 23920@8000, a2 64000@8000");
    EXPECT_EQ(ItemsOf(tracks.at(5)), "Audio b: b1 320000@8000");
}

TEST_F(SyncedDay, TheMixOfTheTimelineHasEachTakeAtItsPlace) {
    ASSERT_EQ(Sync({"@day", "--otio", "@day.otio"}).exitCode, 0);

    const ProgramResult mix =
        shop_.Run({"mix", "@day.otio", "-o", "@day.wav", "--stems", "@stems", "--dither", "none"});

    ASSERT_EQ(mix.exitCode, 0) << mix.err;
    const std::string stem = SampleBytes(shop_.Work("stems/03-a.wav"));
    for (const auto& [take, start] : {std::pair(0U, 64080U), {1U, 152000U}}) {
        const std::string mono = WaveFile(takes_[take]).substr(44);
        std::string stereo;
        for (std::size_t i = 0; i < mono.size(); i += 2) {
            stereo += mono.substr(i, 2) + mono.substr(i, 2);
        }
        EXPECT_TRUE(stem.substr(start * 4, stereo.size()) == stereo) << "take " << take + 1;
    }
    EXPECT_EQ(stem.find_first_not_of('\0') / 4, 64080U);
}

TEST_F(SyncedDay, FilesThatCannotBeAlignedAreListedAndTheOthersAreInTheTimeline) {
    WriteFile(shop_.Work("day/b/broken.mp4"), "no sound at all");
    Film("day/b/mute.mov", 2.0, {});

    const ProgramResult result = Sync({"@day", "--otio", "@day.otio", "--json"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    std::vector<std::string> failed;
    const nlohmann::json results = result.Json().at("results");
    for (const nlohmann::json& pair : results) {
        if (!pair.contains("error")) continue;
        failed.push_back(fs::path(pair.at("b").get<std::string>()).filename());
        EXPECT_NE(pair.at("error").get<std::string>().find(failed.back()), std::string::npos);
    }
    EXPECT_EQ(failed, (std::vector<std::string>{"broken.mp4", "mute.mov"}));
    EXPECT_EQ(TracksOf("day.otio").size(), 6U);
}

// ---- the reference

TEST_F(SyncProgram, TheReferenceIsTheLongestRecordingWithoutPicture) {
    const Sound talk = Talk(6, 1);
    Film("day/camera.mov", 9.0, With(Hiss(9, 2), talk, 1.0));
    WriteInFolder("day/1.wav", With(Hiss(7, 3), talk, 0.5));
    WriteInFolder("day/2.wav", With(Hiss(8, 4), talk, 1.5));
    const auto reference = [&](std::vector<std::string> more) {
        more.insert(more.end(), {"--otio", "@day.otio"});
        const ProgramResult result = Sync(more);
        return result.out.substr(0, result.out.find('\n'));
    };
    const auto quoted = [&](const std::string& name) {
        return "'" + shop_.Work("day/" + name).string() + "'";
    };

    EXPECT_EQ(reference({"@day"}),
              quoted("2.wav") + " is the reference: the longest recording without picture");
    EXPECT_EQ(reference({"@day/camera.mov", "@day/camera.mov", "@day/camera.mov", "--reference",
                         "@day/1.wav"}),
              quoted("1.wav") + " is the reference: from --reference");
    fs::rename(shop_.Work("day/1.wav"), shop_.Work("day/1.dat"));
    fs::remove(shop_.Work("day/2.wav"));
    Film("day/short.mov", 4.0, Part(talk, 0.0, 4.0));
    EXPECT_EQ(reference({"@day"}),
              quoted("camera.mov") + " is the reference: the longest recording");
}

TEST_F(SyncProgram, ARecordingThatDoesNotAlignIsNotInTheTimelineAndExits3) {
    const Sound talk = Talk(4, 1);
    WriteInFolder("day/a.wav", With(Hiss(5, 2), talk, 0.2));
    WriteInFolder("day/b.wav", With(Hiss(4.5, 3), talk, 0.4));
    WriteInFolder("day/c.wav", Sound(4 * RATE, 0.0));

    EXPECT_EQ(Sync({"@day", "--otio", "@day.otio"}).exitCode, 3);

    // Both recordings of the folder overlap.
    EXPECT_EQ(TracksOf("day.otio").size(), 2U);
}

// ---- usage

TEST_F(SyncProgram, WrongUsageIsRefusedWithOneLine) {
    WriteInFolder("day/a.wav", Talk(1, 1));
    WriteInFolder("day/b.wav", Talk(1, 1));
    const std::vector<std::pair<std::vector<std::string>, int>> lines = {
        {{}, 2},
        {{"@day"}, 2},
        {{"@day", "--otio", "@day/a.wav"}, 2},
        {{"@day", "@cut.otio", "--otio", "@day.otio"}, 2},
        {{"@day", "--otio", "@day.otio", "--min-correlation", "2"}, 2},
        {{"@day/a.wav", "@day/a.wav", "--otio", "@day.otio"}, 1},
        {{"@day", "--reference", "@gone.wav", "--otio", "@day.otio"}, 1},
    };
    for (const auto& [line, code] : lines) {
        const ProgramResult result = Sync(line);
        EXPECT_EQ(result.exitCode, code) << testing::PrintToString(line) << result.err;
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_FALSE(fs::exists(shop_.Work("day.otio"))) << testing::PrintToString(line);
    }
    EXPECT_EQ(shop_.RunBare({"--no-cache-db", "sync", "@day", "--otio", "@day.otio"}).exitCode, 2);
}

TEST_F(SyncProgram, StandardInputIsRefused) {
    WriteInFolder("day/a.wav", Talk(1, 1));

    EXPECT_EQ(RunBash(shop_, "cat day/a.wav | \\$sonrel sync - day --otio day.otio 2>error"), 2);

    EXPECT_NE(ReadFile(shop_.Work("error")).find("name files instead of '-'"), std::string::npos);
}

}  // namespace
}  // namespace sonrel_tests
