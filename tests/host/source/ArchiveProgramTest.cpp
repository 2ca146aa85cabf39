// SPDX-License-Identifier: MIT
// A timeline in an archive as INPUT.
#include <gtest/gtest.h>

#include "tests/host/SpoolRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"
#include "tests/support/ZipBytes.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;

class ArchiveProgram : public SpoolRun {
protected:
    void SetUp() override {
        SpoolRun::SetUp();
        WriteArchive("edit.otioz", {{"media/a.wav", ConformedFileBytes(96000)}});
    }

    /// Writes an archive of a timeline with media/a.wav, and of other files.
    void WriteArchive(const std::string& name, std::vector<ZippedFile> files) const {
        files.push_back({"content.otio", edit_.dump(), DEFLATED});
        WriteFile(shop_.Work(name), ZipBytes(files));
    }

    /// The samples of the mix of a folder with the content of edit.otioz.
    std::string MixOfFolder() const {
        fs::create_directories(shop_.Work("edit.otiod/media"));
        WriteFile(shop_.Work("edit.otiod/media/a.wav"), ConformedFileBytes(96000));
        WriteFile(shop_.Work("edit.otiod/content.otio"), edit_.dump());
        const ProgramResult result =
            shop_.RunBare({"--cache", shop_.Path("other"), "--db", shop_.Path("other.db"), "mix",
                           "@edit.otiod", "-o", shop_.Path("folder.wav")});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return SampleBytes(shop_.Path("folder.wav"));
    }

    const Json edit_ = Timeline({Track({Clip("media/a.wav", 0, 50)})});
};

TEST_F(ArchiveProgram, ItsMixAndItsPlaybackHaveTheSoundOfItsMedia) {
    const std::string sound = MixOfFolder();
    ASSERT_EQ(sound.size(), 4u * 96000u);
    ASSERT_NE(sound, std::string(sound.size(), '\0'));

    EXPECT_EQ(Bash("\\$sonrel mix edit.otioz -o out.wav >report"), 0);
    EXPECT_EQ(Bash("\\$sonrel play edit.otioz --output out.raw >report"), 0);

    EXPECT_TRUE(SampleBytes(shop_.Work("out.wav")) == sound);
    EXPECT_TRUE(ReadFile(shop_.Work("out.raw")).starts_with(sound.substr(0, 4 * 90000)));
}

TEST_F(ArchiveProgram, InfoNamesTheArchiveAndNoTemporaryFile) {
    EXPECT_EQ(Bash("\\$sonrel info edit.otioz --json >report"), 0);

    const nlohmann::json report = JsonReport();
    EXPECT_EQ(report.at("input"), "edit.otioz");
    EXPECT_EQ(report.at("media")[0].at("path"), "edit.otioz/media/a.wav");
    EXPECT_EQ(report.at("missing").size(), 0u);
    EXPECT_EQ(Report().find("tmp/"), std::string::npos) << Report();
    EXPECT_EQ(Bash("\\$sonrel loudness edit.otioz >report"), 0);
    EXPECT_NE(Report().find("edit.otioz"), std::string::npos) << Report();
}

TEST_F(ArchiveProgram, FilesOfTheCacheAreTemporaryAndHaveNoPath) {
    EXPECT_EQ(Bash("\\$sonrel conform edit.otioz --json >report"), 0);
    EXPECT_EQ(JsonReport().at("files")[0].at("status"), "made");
    EXPECT_TRUE(JsonReport().at("files")[0].at("path").is_null());
    EXPECT_EQ(Bash("\\$sonrel peaks edit.otioz >report"), 0);
    EXPECT_TRUE(Report().starts_with("made  edit.otioz/media/a.wav\nnote: ")) << Report();
    EXPECT_EQ(Bash("\\$sonrel peaks edit.otioz -o out.xwpk >report"), 0);
    EXPECT_TRUE(fs::exists(shop_.Work("out.xwpk")));

    WriteFile(shop_.Work("a.wav"), ConformedFileBytes(100));
    for (const char* command : {"conform", "peaks"}) {
        EXPECT_EQ(Bash(std::string("\\$sonrel ") + command + " edit.otioz a.wav 2>report"), 2);
        EXPECT_NE(Report().find("use a command for each"), std::string::npos) << Report();
    }
}

TEST_F(ArchiveProgram, NoOutputReplacesTheArchive) {
    const std::string before = ReadFile(shop_.Work("edit.otioz"));
    fs::create_hard_link(shop_.Work("edit.otioz"), shop_.Work("out.wav"));

    EXPECT_EQ(Bash("\\$sonrel mix edit.otioz -o out.wav --overwrite 2>report"), 2);

    EXPECT_NE(Report().find("is the timeline"), std::string::npos) << Report();
    EXPECT_TRUE(ReadFile(shop_.Work("edit.otioz")) == before);
}

TEST_F(ArchiveProgram, ABrokenArchiveFailsWithOneLine) {
    WriteArchive("evil.otioz", {{"../evil.wav", "x"}});
    EXPECT_EQ(Bash("\\$sonrel info evil.otioz 2>report"), 1);
    EXPECT_EQ(Report(),
              "sonrel: cannot read the timeline 'evil.otioz': the name '../evil.wav' leads out of "
              "the archive\n");

    EXPECT_EQ(Bash("\\$sonrel --spool-limit 384043 mix edit.otioz -o out.wav 2>report"), 1);
    EXPECT_NE(Report().find("more than 384043 bytes"), std::string::npos) << Report();
    EXPECT_FALSE(fs::exists(shop_.Work("out.wav")));
    ZippedFile damaged{"media/a.wav", "sound"};
    damaged.declaredChecksum = 1;
    WriteArchive("damaged.otioz", {damaged});
    EXPECT_EQ(Bash("\\$sonrel conform damaged.otioz damaged.otioz edit.otioz --json >report "
                   "2>error"),
              1);
    EXPECT_EQ(JsonReport().at("files")[0].at("status"), "failed");
    EXPECT_EQ(JsonReport().at("files")[1].at("status"), "failed");
    EXPECT_EQ(JsonReport().at("files")[2].at("status"), "made");
}

TEST_F(ArchiveProgram, AMissingMediaFileIsNamedInTheArchive) {
    WriteArchive("empty.otioz", {});

    EXPECT_EQ(Bash("\\$sonrel mix empty.otioz -o out.wav 2>report"), 3);

    EXPECT_NE(Report().find("'empty.otioz/media/a.wav'"), std::string::npos) << Report();
}

TEST_F(ArchiveProgram, CommandsForMediaFilesRefuseIt) {
    EXPECT_EQ(Bash("\\$sonrel waveform edit.otioz -o out.png 2>report"), 2);
    EXPECT_NE(Report().find("'edit.otioz' is a timeline"), std::string::npos) << Report();
    EXPECT_EQ(Bash("\\$sonrel align edit.otioz edit.otioz 2>report"), 2);
    EXPECT_EQ(Bash("\\$sonrel mix edit.otioz --stream 1 -o out.wav 2>report"), 2);
}

// The mix waits for a reader of its output when it is interrupted.
TEST_F(ArchiveProgram, AnInterruptLeavesNoTemporaryFile) {
    EXPECT_EQ(Bash("mkfifo out.wav; \\$sonrel mix edit.otioz -o out.wav >report 2>error & "
                   "until [ -e ../tmp/*/0.otiod/content.otio ]; do :; done; "
                   "kill -TERM \\$!; wait \\$!"),
              130);
}

TEST_F(ArchiveProgram, InterruptedCallsAreContinuedAndAReadErrorIsReportedWithItsReason) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer must be the first library";
#endif
    const Variable temporary("TMPDIR", shop_.Path("tmp"));
    const std::string archive = shop_.Work("edit.otioz").string();
    Fault fault{shop_.Path("work"), "open,read,close", "edit.otioz", "EINTR"};
    for (const char* const mode : {"storm", "fail"}) {
        fault.mode = mode;
        for (int number = 1;; ++number) {
            const DisturbedRun run = RunWithFault(
                shop_, fault, number, {"mix", "@edit.otioz", "-o", "@out.wav", "--overwrite"});
            if (!run.wasHit) {
                EXPECT_GT(number, 6);
                break;
            }
            EXPECT_EQ(run.result.exitCode, 0) << number << run.result.err;
        }
    }
    fault = {shop_.Path("work"), "read", "edit.otioz"};
    const DisturbedRun run =
        RunWithFault(shop_, fault, 2, {"mix", "@edit.otioz", "-o", "@other.wav"});
    EXPECT_EQ(run.result.exitCode, 1);
    EXPECT_EQ(run.result.err, "sonrel: cannot read '" + archive + "': Input/output error\n");
    EXPECT_FALSE(fs::exists(shop_.Work("other.wav")));
}

}  // namespace
}  // namespace sonrel_tests
