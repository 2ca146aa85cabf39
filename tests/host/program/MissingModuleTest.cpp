// SPDX-License-Identifier: MIT
// The program with an installation that has no FFmpeg or no drawing library.
#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>

#include "tests/host/ProgramRun.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

namespace fs = std::filesystem;

/// The program with copies of our libraries, next to which a test puts modules.
class MissingModule : public testing::Test {
protected:
    void SetUp() override {
        fs::create_directory(libraries_);
        for (const char* name : {"libsonrel.so.0", "libsonrel-project.so.0"}) {
            fs::copy_file(fs::path(SONREL_LIBRARIES) / name, libraries_ / name);
        }
        WriteFile(shop_.Work("a.wav"), ConformedFileBytes(4800));
        setenv("LD_LIBRARY_PATH", libraries_.c_str(), 1);
    }
    void TearDown() override { unsetenv("LD_LIBRARY_PATH"); }

    fs::path Module(const std::string& name) const {
        return libraries_ / SONREL_MODULE_FOLDER / name;
    }
    void AddModule(const std::string& name) const {
        fs::create_directories(Module(name).parent_path());
        fs::copy_file(fs::path(SONREL_LIBRARIES) / SONREL_MODULE_FOLDER / name, Module(name));
    }

    Workshop shop_;
    const fs::path libraries_ = shop_.Path("libraries");
};

TEST_F(MissingModule, WithoutFfmpegACommandThatReadsMediaSaysWhichFileIsMissing) {
    const ProgramResult result = shop_.Run({"conform", "@a.wav"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_THAT(result.err, HasSubstr("a.wav"));
    EXPECT_THAT(result.err,
                HasSubstr("the decoding library does not load (" + Module("ffmpeg.so").string() +
                          ": cannot open shared object "
                          "file: No such file or directory)"));
    EXPECT_THAT(result.err, EndsWith("; install the libraries of FFmpeg\n"));
}

TEST_F(MissingModule, WithoutTheDrawingLibraryWaveformSaysWhichFileIsMissingAndWritesNothing) {
    AddModule("ffmpeg.so");

    const ProgramResult result = shop_.Run({"waveform", "@a.wav", "-o", "@a.png"});

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_THAT(result.err,
                HasSubstr("the drawing library does not load (" + Module("painter.so").string() +
                          ": cannot open shared object "
                          "file: No such file or directory)"));
    EXPECT_THAT(result.err, HasSubstr("libsonrel0-painter"));
    EXPECT_FALSE(fs::exists(shop_.Work("a.png")));
}

TEST_F(MissingModule, CommandsThatNeedNoModuleWorkWithoutThem) {
    EXPECT_EQ(shop_.RunBare({"--version"}).exitCode, 0);
    EXPECT_EQ(shop_.Run({"cache", "ls"}).exitCode, 0);
}

}  // namespace
}  // namespace sonrel_tests
