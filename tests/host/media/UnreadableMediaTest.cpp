// SPDX-License-Identifier: MIT
// Sound that cannot be read is never mixed, played or aligned as silence.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "tests/host/UnreadableRig.h"
#include "tests/support/ResourceLimit.h"

namespace sonrel_tests {
namespace {

using testing::HasSubstr;

// A run checks each conformed file with four reads: its header when it is set on the stream, and
// its header, its first and its last sample. A single failed read of these 48 is repaired by
// conforming again. The mix and the stems then read 30 blocks of 12 files twice, 1440 reads:
// alternately the header and the samples. The header is read again in pieces when its first read
// fails, so that only the samples, which have the even numbers, are lost.

TEST_F(UnreadableMedia, AReadErrorOfAConformedFileFailsTheMixAndLeavesNoOutput) {
    // The even numbers from 50 to 1488: 74, 184 and 362.
    EXPECT_EQ(Sweep(OfConformedFiles("read", "EIO", "1"), mix_), 3);
}

TEST_F(UnreadableMedia, ADiskThatFailsPermanentlyFailsTheMix) {
    // The numbers from 1 to 1387.
    EXPECT_EQ(Sweep(OfConformedFiles("read", "EIO", "all"), mix_), 28);
}

TEST_F(UnreadableMedia, AConformedFileThatMayNotBeOpenedFailsTheMix) {
    // 24 and 720 opens: the numbers from 1 to 709.
    EXPECT_EQ(Sweep(OfConformedFiles("open", "EACCES", "all"), mix_), 25);
}

TEST_F(UnreadableMedia, ALackOfDescriptorsFailsTheMix) {
    EXPECT_EQ(Sweep(OfConformedFiles("open", "EMFILE", "all"), mix_), 25);
}

TEST_F(UnreadableMedia, AReadErrorFailsAPlayback) {
    // 48 and 720 reads: 74, 184 and 362.
    EXPECT_EQ(Sweep(OfConformedFiles("read", "EIO", "1"),
                    {"play", "@edit.otio", "--output", "@out/p.wav"}),
              3);
    EXPECT_GT(Sweep(OfConformedFiles("read", "EIO", "all"),
                    {"play", "@m0.wav", "--output", "@out/p.raw"}),
              1);
}

TEST_F(UnreadableMedia, AReadErrorFailsTheMixOfAMediaFile) {
    EXPECT_GT(
        Sweep(OfConformedFiles("read", "EIO", "all"), {"mix", "@m0.wav", "-o", "@out/mix.wav"}), 1);
}

TEST_F(UnreadableMedia, AReadErrorFailsAnAlignment) {
    // The checks take 8 reads, and the alignment 22 more, of which 9 and 11 read headers: 14, 18,
    // 23 and 29.
    EXPECT_EQ(
        Sweep(OfConformedFiles("read", "EIO", "1"), {"align", "@m0.wav", "@m1.wav", "--plot",
                                                     "@out/plot.svg", "--otio", "@out/sync.otio"}),
        4);
}

TEST_F(UnreadableMedia, AManifestHasTheSizesOfTheMediaFilesOrIsNotWritten) {
    const Arguments command{"mix", "@m0.wav", "-o", "@out/mix.wav", "--manifest", "@out/m.json"};
    ASSERT_EQ(shop_.Run(command).exitCode, 0);
    const auto whole = TakeOutputs();
    int failures = 0;
    for (int number = 1;; ++number) {
        const Fault fault{shop_.Path("work"), "stat", "m0.wav"};
        const DisturbedRun run = RunWithFault(shop_, fault, number, command);
        if (!run.wasHit) break;
        const auto left = TakeOutputs();
        if (run.result.exitCode == 0) {
            EXPECT_EQ(left, whole) << number;
            continue;
        }
        ++failures;
        EXPECT_TRUE(run.result.HasOneErrorLine()) << run.result.err;
        EXPECT_TRUE(NamesAMediaFile(run.result.err)) << run.result.err;
        EXPECT_TRUE(left.empty()) << number;
    }
    EXPECT_GT(failures, 2);
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

TEST_F(UnreadableMedia, AReadErrorIsAnEventOfThePlayback) {
    ASSERT_EQ(shop_.Run({"conform", "@edit.otio"}).exitCode, 0);
    const Fault fault = OfConformedFiles("read", "EIO", "all");
    DisturbedRun run;
    for (int number = 1; run.result.err.find(" from its conformed file ") == std::string::npos;
         ++number) {
        run = RunWithFault(shop_, fault, number,
                           {"play", "@edit.otio", "--output", "@out/p.wav", "--events"});
        ASSERT_TRUE(run.wasHit);
    }

    const std::string& events = run.result.out;
    const std::size_t error =
        events.find("{\"event\":\"read-error\",\"error\":\"cannot read the sound of '");
    EXPECT_EQ(run.result.exitCode, 1);
    ASSERT_NE(error, std::string::npos) << events;
    EXPECT_LT(error, events.find("{\"event\":\"end\"}"));
    EXPECT_EQ(events.find("read-error", error + 20), std::string::npos) << "reported once";
    EXPECT_TRUE(NamesAMediaFile(events.substr(error))) << events;
}

TEST_F(UnreadableMedia, TooFewDescriptorsAreReportedWithTheRemedy) {
    ASSERT_EQ(shop_.Run(mix_).exitCode, 0);
    const auto outputs = TakeOutputs();
    int failures = 0;
    for (rlim_t descriptors = 10; descriptors < 40; ++descriptors) {
        ProgramResult result;
        {
            const ResourceLimit few(RLIMIT_NOFILE, descriptors);
            result = shop_.Run(mix_);
        }
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

TEST_F(UnreadableMedia, BrokenConformedFilesAreRecreatedOnce) {
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

TEST_F(UnreadableMedia, ConformRecreatesABrokenFile) {
    ASSERT_EQ(shop_.Run({"conform", "@m0.wav"}).exitCode, 0);
    const std::string bytes = ReadFile(CacheFiles(".xwmc").at(0));
    fs::resize_file(CacheFiles(".xwmc").at(0), 1000);

    const ProgramResult result = shop_.Run({"conform", "@m0.wav", "--json"});

    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.Json().at("files").at(0).at("status"), "made");
    ASSERT_EQ(CacheFiles(".xwmc").size(), 1u);
    EXPECT_EQ(ReadFile(CacheFiles(".xwmc").at(0)), bytes);
}

TEST_F(UnreadableMedia, AConformedFileThatCannotBeReadAfterItIsRecreatedFails) {
    const DisturbedRun run = RunWithFault(shop_, OfConformedFiles("read", "EIO", "all"), 1,
                                          {"conform", "@m0.wav", "--json"});

    EXPECT_EQ(run.result.exitCode, 1);
    EXPECT_TRUE(run.result.HasOneErrorLine()) << run.result.err;
    EXPECT_THAT(run.result.err, HasSubstr("m0.wav"));
    EXPECT_EQ(run.result.Json().at("files").at(0).at("status"), "failed");
}

TEST_F(UnreadableMedia, FilesThatAnotherProcessDeletesDuringTheMixFailTheMix) {
    ASSERT_EQ(shop_.Run({"conform", "@edit.otio"}).exitCode, 0);
    ASSERT_EQ(mkfifo(shop_.Work("pipe").c_str(), 0600), 0);
    // The program writes 131072 bytes at once, and a pipe holds 65536: it waits with 24832 samples
    // still to mix.
    RunningProgram program = shop_.Start({"mix", "@edit.otio", "-o", "@pipe"});
    const int pipe = open(shop_.Work("pipe").c_str(), O_RDONLY);
    char bytes[4096];
    // More than the header, which is written before the first read.
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

}  // namespace
}  // namespace sonrel_tests
