// SPDX-License-Identifier: MIT
// Sound that cannot be read is never written, played or recorded as silence.
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <map>

#include "tests/host/FaultRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

using Arguments = std::vector<std::string>;

/// More media files than the mixer keeps open, so that it opens files during the whole mix.
constexpr int TRACKS = 12;

std::string Name(int track) {
    return "m" + std::to_string(track) + ".wav";
}

class UnreadableMedia : public testing::Test {
protected:
    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "a sanitizer has to be the first library";
#endif
        // 30 frames of 1920 samples each, and no two media files alike.
        std::vector<Json> tracks;
        for (int track = 0; track < TRACKS; ++track) {
            WriteFile(shop_.Work(Name(track)), ConformedFileBytes(57600 + track));
            tracks.push_back(Track({Clip(Name(track), 0, 30)}));
        }
        WriteFile(shop_.Work("edit.otio"), Timeline(tracks).dump());
        fs::create_directory(shop_.Work("out"));
    }

    Fault OfConformedFiles(const std::string& operations, const std::string& error,
                           const std::string& times) const {
        return {shop_.Path("cache"), operations, "*.xwmc", error, times};
    }

    /// Files of a kind in the cache.
    std::vector<fs::path> CacheFiles(const std::string& extension) const {
        std::vector<fs::path> files;
        for (const auto& entry : fs::directory_iterator(shop_.Path("cache"))) {
            if (entry.path().extension() == extension) files.push_back(entry.path());
        }
        return files;
    }

    /// The outputs by their names, and then none.
    std::map<std::string, std::string> TakeOutputs() const {
        std::map<std::string, std::string> contents;
        for (const auto& entry : fs::recursive_directory_iterator(shop_.Work("out"))) {
            if (entry.is_regular_file()) contents[entry.path()] = ReadFile(entry.path());
        }
        fs::remove_all(shop_.Work("out"));
        fs::create_directory(shop_.Work("out"));
        return contents;
    }

    static bool NamesAMediaFile(const std::string& text) {
        return text.find("/m") != std::string::npos && text.find(".wav'") != std::string::npos;
    }

    /// Disturbs the operations of a command one after the other, the later ones in growing steps.
    /// Each run is as the undisturbed one, or exits 1 with one line and leaves no output.
    /// @return runs that failed
    int Sweep(const Fault& fault, const Arguments& command) {
        const ProgramResult whole = shop_.Run(command);
        const auto outputs = TakeOutputs();
        EXPECT_FALSE(outputs.empty()) << whole.err;
        int failures = 0;
        for (int number = 1;; number += 1 + number / 4) {
            const DisturbedRun run = RunWithFault(shop_, fault, number, command);
            if (!run.wasHit) return failures;
            const auto left = TakeOutputs();
            if (run.result.exitCode == whole.exitCode) {
                EXPECT_EQ(left, outputs) << number;
                continue;
            }
            ++failures;
            EXPECT_EQ(run.result.exitCode, 1) << number;
            EXPECT_TRUE(run.result.HasOneErrorLine()) << run.result.err;
            EXPECT_TRUE(NamesAMediaFile(run.result.err)) << run.result.err;
            EXPECT_TRUE(left.empty()) << number;
        }
    }

    const Workshop shop_;
    const Arguments mix_{"mix",      "@edit.otio",  "-o",      "@out/mix.wav",
                         "--meters", "@out/m.json", "--stems", "@out/stems"};
};

TEST_F(UnreadableMedia, AReadErrorOfAConformedFileFailsTheMixAndLeavesNoOutput) {
    // A single failed read of the check before the mix is healed by conforming anew. The number of
    // reads in the mix depends on the age of the files.
    EXPECT_GT(Sweep(OfConformedFiles("read", "EIO", "1"), mix_), 0);
}

TEST_F(UnreadableMedia, ADiskThatFailsFromSomePointOnFailsTheMix) {
    EXPECT_GT(Sweep(OfConformedFiles("read", "EIO", "all"), mix_), 10);
}

TEST_F(UnreadableMedia, AConformedFileThatMayNotBeOpenedFailsTheMix) {
    EXPECT_GT(Sweep(OfConformedFiles("open", "EACCES", "all"), mix_), 5);
}

TEST_F(UnreadableMedia, DescriptorsThatAreUsedUpFailTheMix) {
    EXPECT_GT(Sweep(OfConformedFiles("open", "EMFILE", "all"), mix_), 5);
}

TEST_F(UnreadableMedia, AReadErrorFailsAPlayback) {
    EXPECT_GT(Sweep(OfConformedFiles("read", "EIO", "1"),
                    {"play", "@edit.otio", "--output", "@out/p.wav"}),
              1);
    EXPECT_GT(Sweep(OfConformedFiles("read", "EIO", "all"),
                    {"play", "@m0.wav", "--output", "@out/p.raw"}),
              1);
}

TEST_F(UnreadableMedia, AReadErrorFailsTheMixOfAMediaFile) {
    EXPECT_GT(
        Sweep(OfConformedFiles("read", "EIO", "all"), {"mix", "@m0.wav", "-o", "@out/mix.wav"}), 1);
}

TEST_F(UnreadableMedia, AReadErrorFailsAnAlignment) {
    EXPECT_GT(
        Sweep(OfConformedFiles("read", "EIO", "1"), {"align", "@m0.wav", "@m1.wav", "--plot",
                                                     "@out/plot.svg", "--otio", "@out/sync.otio"}),
        0);
}

TEST_F(UnreadableMedia, ACacheFolderThatMayNotBeExaminedIsNamed) {
    ASSERT_EQ(shop_.Run({"conform", "@m0.wav"}).exitCode, 0);
    const Fault fault{shop_.Path("cache").parent_path(), "stat", "cache", "EACCES", "all"};

    const DisturbedRun run = RunWithFault(shop_, fault, 1, {"conform", "@m0.wav"});

    EXPECT_EQ(run.result.exitCode, 1);
    EXPECT_TRUE(run.result.HasOneErrorLine()) << run.result.err;
    EXPECT_THAT(run.result.err, HasSubstr("'" + shop_.Path("cache").string() + "'"));
}

TEST_F(UnreadableMedia, TheErrorNamesTheMediaFileAndTheFirstTimecode) {
    WriteFile(shop_.Work("late.otio"), Timeline({Track({Gap(10), Clip("m3.wav", 5, 20)})}).dump());
    const Arguments command{"mix", "@late.otio", "-o", "@out/mix.wav", "--json"};
    ASSERT_EQ(shop_.Run(command).exitCode, 0);
    TakeOutputs();
    // The checks of the file read its header and its last sample.
    const Fault fault = OfConformedFiles("read", "EIO", "all");
    int number = 1;
    DisturbedRun run = RunWithFault(shop_, fault, number, command);
    while (run.wasHit && run.result.err.find(" from its conformed file ") == std::string::npos) {
        run = RunWithFault(shop_, fault, ++number, command);
    }

    EXPECT_EQ(run.result.exitCode, 1);
    EXPECT_THAT(run.result.err, HasSubstr("m3.wav' at 00:00:00:10 "));
    EXPECT_THAT(run.result.err, HasSubstr("Input/output error"));
    EXPECT_THAT(run.result.Json().at("error").get<std::string>(), HasSubstr("m3.wav"));
}

TEST_F(UnreadableMedia, TooFewDescriptorsAreReportedWithTheRemedy) {
    ASSERT_EQ(shop_.Run(mix_).exitCode, 0);
    const auto outputs = TakeOutputs();
    rlimit before = {};
    getrlimit(RLIMIT_NOFILE, &before);
    int failures = 0;
    for (rlim_t descriptors = 10; descriptors < 40; ++descriptors) {
        const rlimit few{descriptors, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &few);
        const ProgramResult result = shop_.Run(mix_);
        setrlimit(RLIMIT_NOFILE, &before);
        const auto left = TakeOutputs();
        if (result.exitCode == 0) {
            EXPECT_EQ(left, outputs) << descriptors;
            continue;
        }
        EXPECT_EQ(result.exitCode, 1) << descriptors;
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_TRUE(left.empty()) << descriptors;
        failures += result.err.find("allow more open files with 'ulimit -n'") != std::string::npos;
    }
    EXPECT_GT(failures, 0);
}

TEST_F(UnreadableMedia, ConformedFilesThatAreBrokenAreMadeAnewOnce) {
    ASSERT_EQ(shop_.Run(mix_).exitCode, 0);
    const auto outputs = TakeOutputs();
    const std::vector<fs::path> files = CacheFiles(".xwmc");
    ASSERT_EQ(files.size(), std::size_t{TRACKS});
    WriteFile(files[0], "");
    fs::resize_file(files[1], fs::file_size(files[1]) - 4);
    fs::resize_file(files[2], 44);
    WriteFile(files[3], ConformedFileBytes(10).substr(0, 44));
    WriteFile(files[4], "no conformed file");

    const ProgramResult result = shop_.Run(mix_);

    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(TakeOutputs(), outputs);
    EXPECT_EQ(CacheFiles(".xwmc").size(), std::size_t{TRACKS});
}

TEST_F(UnreadableMedia, ConformMakesABrokenFileAnew) {
    ASSERT_EQ(shop_.Run({"conform", "@m0.wav"}).exitCode, 0);
    const std::string bytes = ReadFile(CacheFiles(".xwmc").at(0));
    fs::resize_file(CacheFiles(".xwmc").at(0), 1000);

    const ProgramResult result = shop_.Run({"conform", "@m0.wav", "--json"});

    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.Json().at("files").at(0).at("status"), "made");
    ASSERT_EQ(CacheFiles(".xwmc").size(), 1u);
    EXPECT_EQ(ReadFile(CacheFiles(".xwmc").at(0)), bytes);
}

TEST_F(UnreadableMedia, AConformedFileThatCannotBeReadAfterItIsMadeAnewFails) {
    const DisturbedRun run = RunWithFault(shop_, OfConformedFiles("read", "EIO", "all"), 1,
                                          {"conform", "@m0.wav", "--json"});

    EXPECT_EQ(run.result.exitCode, 1);
    EXPECT_TRUE(run.result.HasOneErrorLine()) << run.result.err;
    EXPECT_THAT(run.result.err, HasSubstr("m0.wav"));
    EXPECT_EQ(run.result.Json().at("files").at(0).at("status"), "failed");
}

TEST_F(UnreadableMedia, FilesThatAnotherProcessDeletesDuringTheMixFailIt) {
    ASSERT_EQ(shop_.Run({"conform", "@edit.otio"}).exitCode, 0);
    ASSERT_EQ(mkfifo(shop_.Work("pipe").c_str(), 0600), 0);
    // The program writes 131072 bytes at once, and a pipe holds 65536: it waits with 24832 samples
    // still to mix.
    RunningProgram program = shop_.Start({"mix", "@edit.otio", "-o", "@pipe"});
    const int pipe = open(shop_.Work("pipe").c_str(), O_RDONLY);
    char bytes[4096];
    // More than the header, which is written before anything is read.
    for (int i = 0; i < 100; ++i) ASSERT_EQ(read(pipe, bytes, 1), 1);
    for (const fs::path& file : CacheFiles(".xwmc")) fs::remove(file);

    while (read(pipe, bytes, sizeof(bytes)) > 0) continue;
    close(pipe);
    const ProgramResult result = program.Wait();

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_THAT(result.err, HasSubstr("No such file or directory"));
    EXPECT_TRUE(NamesAMediaFile(result.err)) << result.err;
}

/// Media files whose peaks are made in one pass, and in four tasks.
class UnreadablePeaks : public UnreadableMedia, public testing::WithParamInterface<int> {
protected:
    void SetUp() override {
        UnreadableMedia::SetUp();
        WriteFile(shop_.Work("a.wav"), ConformedFileBytes(GetParam(), 8000));
    }

    Fault OfTheMediaFile() const { return {shop_.Path("work"), "read", "a.wav"}; }
};

TEST_P(UnreadablePeaks, AReadErrorKeepsNoRecordAndNoFile) {
    ASSERT_EQ(shop_.Run({"peaks", "@a.wav"}).exitCode, 0);
    const std::string whole = ReadFile(CacheFiles(".xwpk").at(0));
    int failures = 0;
    for (int number = 1;; ++number) {
        fs::remove_all(shop_.Path("cache"));
        const DisturbedRun run = RunWithFault(shop_, OfTheMediaFile(), number, {"peaks", "@a.wav"});
        if (!run.wasHit) break;
        if (run.result.exitCode == 0) {
            EXPECT_EQ(ReadFile(CacheFiles(".xwpk").at(0)), whole) << number;
            continue;
        }
        ++failures;
        EXPECT_EQ(run.result.exitCode, 1) << number;
        EXPECT_TRUE(run.result.HasOneErrorLine()) << run.result.err;
        EXPECT_THAT(run.result.err, HasSubstr("a.wav"));
        EXPECT_TRUE(!fs::exists(shop_.Path("cache")) || CacheFiles(".xwpk").empty()) << number;

        const ProgramResult next = shop_.Run({"peaks", "@a.wav", "--json"});
        EXPECT_EQ(next.Json().at("files").at(0).at("status"), "made") << number;
        EXPECT_EQ(ReadFile(CacheFiles(".xwpk").at(0)), whole) << number;
    }
    EXPECT_GT(failures, 4);
}

TEST_P(UnreadablePeaks, AReadErrorIsReportedWithItsPlace) {
    const Fault all{shop_.Path("work"), "read", "a.wav", "EIO", "all"};
    std::string errors;
    for (int number = 1;; ++number) {
        const DisturbedRun run = RunWithFault(
            shop_, all, number, {"peaks", "@a.wav", "-o", "@out/a.xwpk", "--overwrite"});
        if (!run.wasHit) break;
        errors += run.result.err;
        EXPECT_EQ(run.result.exitCode, 1) << number;
        EXPECT_TRUE(TakeOutputs().empty()) << number;
    }
    EXPECT_THAT(errors, HasSubstr("cannot make the peak file of '" + shop_.Work("a.wav").string() +
                                  "': it cannot be read at byte "));
    EXPECT_THAT(errors, HasSubstr(": Input/output error\n"));
}

TEST_P(UnreadablePeaks, AReadErrorKeepsTheOldFileOfAForcedRun) {
    ASSERT_EQ(shop_.Run({"peaks", "@a.wav"}).exitCode, 0);
    const fs::path old = CacheFiles(".xwpk").at(0);
    const std::string whole = ReadFile(old);
    const Fault all{shop_.Path("work"), "read", "a.wav", "EIO", "all"};
    for (int number = 1;; ++number) {
        const DisturbedRun run = RunWithFault(shop_, all, number, {"peaks", "@a.wav", "--force"});
        if (!run.wasHit) break;
        EXPECT_EQ(run.result.exitCode, 1) << number;
        EXPECT_TRUE(run.result.HasOneErrorLine()) << run.result.err;
        ASSERT_EQ(CacheFiles(".xwpk"), std::vector{old}) << number;
        EXPECT_EQ(ReadFile(old), whole) << number;
    }
    const ProgramResult next = shop_.Run({"peaks", "@a.wav", "--json"});
    EXPECT_NE(next.Json().at("files").at(0).at("path"), old.string());
    EXPECT_EQ(next.Json().at("files").at(0).at("status"), "found");
}

TEST_P(UnreadablePeaks, AReadErrorLeavesNoPicture) {
    const Arguments command{"waveform", "@a.wav", "-o", "@out/w.png", "--size", "200x50"};
    ASSERT_EQ(shop_.Run(command).exitCode, 0);
    const auto picture = TakeOutputs();
    int failures = 0;
    for (int number = 1;; ++number) {
        fs::remove_all(shop_.Path("cache"));
        const DisturbedRun run = RunWithFault(shop_, OfTheMediaFile(), number, command);
        if (!run.wasHit) break;
        const auto left = TakeOutputs();
        if (run.result.exitCode == 0) {
            EXPECT_EQ(left, picture) << number;
            continue;
        }
        ++failures;
        EXPECT_EQ(run.result.exitCode, 1) << number;
        EXPECT_TRUE(run.result.HasOneErrorLine()) << run.result.err;
        EXPECT_TRUE(left.empty()) << number;
    }
    EXPECT_GT(failures, 4);
}

INSTANTIATE_TEST_SUITE_P(Lengths, UnreadablePeaks, testing::Values(100000, 250000),
                         [](const testing::TestParamInfo<int>& test) {
                             return test.param < 240000 ? "OnePass" : "FourTasks";
                         });

}  // namespace
}  // namespace sonrel_tests
