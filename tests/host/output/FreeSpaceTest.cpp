// SPDX-License-Identifier: MIT
// Cache files on a disk that is too small for them.
#include <gtest/gtest.h>

#include <fstream>

#include "tests/host/FaultRun.h"
#include "tests/host/TimelineDocument.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

namespace fs = std::filesystem;

class FreeSpace : public testing::Test {
protected:
    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "a sanitizer must be the first library";
#endif
    }

    /// Writes a sparse WAV file of zeros, stereo with 16 bits.
    /// @param declared  number of frames in the header
    void WriteZeros(const std::string& name, std::uint32_t frames, std::uint32_t declared) const {
        WriteFile(shop_.Work(name), "RIFF" + Little(36 + 4 * declared, 4) + "WAVE" +
                                        Chunk("fmt ", PcmFormat(1, 2, 48000, 16)) + "data" +
                                        Little(4 * declared, 4));
        fs::resize_file(shop_.Work(name), 44 + 4LL * frames);
    }

    /// Runs the program with @p freeBytes bytes free for the cache.
    ProgramResult Run(const std::string& freeBytes,
                      const std::vector<std::string>& arguments) const {
        const Variable free("FAULTFS_FREE", freeBytes);
        return RunWithFault(shop_, {shop_.Path("cache"), "write", "*.xw*"}, 0, arguments).result;
    }

    /// Number of bytes written to cache files.
    long long BytesWritten() const {
        std::ifstream log(shop_.Path("operations.txt"));
        long long sum = 0;
        std::string number, operation, hit, bytes, path;
        while (log >> number >> operation >> hit >> bytes >> path) sum += std::stoll(bytes);
        return sum;
    }

    Workshop shop_;
};

TEST_F(FreeSpace, IsComparedWithTheExpectedSizeBeforeACacheFileIsWritten) {
    // 24 million frames: 96 MB conformed, 750000 blocks of 5 bytes in a peak file.
    WriteZeros("a.wav", 24000000, 24000000);
    WriteFile(shop_.Work("edit.otio"), Timeline({Track({Clip("a.wav", 0, 2)})}).dump());
    const std::string conformed = ": 96 MB are needed and 2 MB are free; make room";
    const std::string peaks = ": 3.8 MB are needed and 2 MB are free; make room";

    using Arguments = std::vector<std::string>;
    for (const auto& [arguments, numbers] : std::vector<std::pair<Arguments, std::string>>{
             {{"conform", "@a.wav"}, conformed},
             {{"conform", "--force", "@a.wav"}, conformed},
             {{"mix", "@edit.otio", "-o", "@out.wav"}, conformed},
             {{"mix", "@a.wav", "-o", "@out.wav"}, conformed},
             {{"play", "@edit.otio", "--output", "@out.wav"}, conformed},
             {{"peaks", "@a.wav"}, peaks},
             {{"peaks", "--force", "@a.wav"}, peaks},
             {{"waveform", "@a.wav", "-o", "@out.png"}, peaks}}) {
        const ProgramResult result = Run("2000000", arguments);

        EXPECT_EQ(result.exitCode, 1) << arguments.front();
        EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
        EXPECT_NE(result.err.find(numbers), std::string::npos) << result.err;
        // A header of 44 bytes, written twice.
        EXPECT_LE(BytesWritten(), 88) << arguments.front();
        EXPECT_EQ(NamesIn(shop_.Path("work")), (std::vector<std::string>{"a.wav", "edit.otio"}));
    }
}

TEST_F(FreeSpace, OfExactlyTheExpectedSizeIsEnough) {
    // 4 * 48000 bytes and a header of 44; 1500 blocks of 5 bytes and a header of 20.
    WriteZeros("a.wav", 48000, 48000);

    EXPECT_EQ(Run("191999", {"conform", "@a.wav"}).exitCode, 1);
    EXPECT_EQ(Run("192044", {"conform", "@a.wav"}).exitCode, 0);
    EXPECT_EQ(Run("7519", {"peaks", "@a.wav"}).exitCode, 1);
    EXPECT_EQ(Run("7525", {"peaks", "@a.wav"}).exitCode, 0);
}

TEST_F(FreeSpace, IsComparedWithTheActualLengthOfTheSound) {
    // The header declares 10 million frames, whose peak file would have 1.6 MB.
    WriteZeros("a.wav", 5000, 10000000);

    const ProgramResult result = Run("1000000", {"peaks", "@a.wav"});

    EXPECT_EQ(result.exitCode, 0) << result.err;
}

TEST_F(FreeSpace, OfTemporaryFilesNamesTheVariableOfTheirFolder) {
    WriteFile(shop_.Work("a.wav"), ConformedFileBytes(96000));
    const ProgramResult mix =
        shop_.Run({"mix", "@a.wav", "-o", "@out.wav", "--manifest", "@mix.json"});
    ASSERT_EQ(mix.exitCode, 0) << mix.err;
    const Variable folder("TMPDIR", shop_.Path("work"));

    const Variable free("FAULTFS_FREE", "1000");
    const Fault ofTheFolder{shop_.Path("work"), "write", "*.xw*"};
    const ProgramResult result =
        RunWithFault(shop_, ofTheFolder, 0, {"verify", "@mix.json"}).result;

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(result.HasOneErrorLine()) << result.err;
    EXPECT_NE(result.err.find("make room, or set TMPDIR to another folder"), std::string::npos)
        << result.err;
    EXPECT_EQ(result.err.find("--cache"), std::string::npos) << result.err;
    EXPECT_EQ(NamesIn(shop_.Path("work")),
              (std::vector<std::string>{"a.wav", "mix.json", "out.wav"}));
}

}  // namespace
}  // namespace sonrel_tests
