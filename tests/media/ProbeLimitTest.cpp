// SPDX-License-Identifier: MIT
#include <sys/resource.h>

#include <filesystem>

#include "tests/media/MediaSupport.h"
#include "tests/support/AnotherProcess.h"
#include "tests/support/MatroskaBytes.h"

using namespace sonrel_tests;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool HAS_SANITIZER = true;
#else
constexpr bool HAS_SANITIZER = false;
#endif

class ProbeLimit : public testing::Test {
protected:
    /// A sparse file that starts with @p bytes.
    std::filesystem::path Sparse(const std::string& name, const std::string& bytes,
                                 std::uintmax_t size) const {
        WriteFile(folder_ / name, bytes);
        std::filesystem::resize_file(folder_ / name, size);
        return folder_ / name;
    }

    static long PeakMegabytes() {
        struct rusage usage = {};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss / 1024;
    }

    /// Megabytes that the opening of a file adds to the memory of a process.
    static int MemoryOfOpening(const std::filesystem::path& path) {
        return InAnotherProcess([&] {
            const long before = PeakMegabytes();
            const OpenedMedia media(path);
            return static_cast<int>(std::min(PeakMegabytes() - before, 90L));
        });
    }

    TemporaryFolder folder_;
};

constexpr std::uintmax_t GIGABYTE = 1 << 30;

TEST_F(ProbeLimit, ZerosAreRefusedInAFileOfAnyLength) {
    for (const char* name : {"a.mp3", "a.ac3", "a.dts", "a.flac", "a.h264"}) {
        EXPECT_EQ(OpenedMedia(Sparse(name, "", 8 * GIGABYTE)).CreateCode(),
                  Code(MediaError::ProbeLimit))
            << name;
    }
}

TEST_F(ProbeLimit, TheSearchForSoundNeedsAtMost64MB) {
    if (HAS_SANITIZER) GTEST_SKIP() << "sanitizers multiply the memory";
    for (const char* name : {"a.mp3", "a.ac3", "a.h264"}) {
        EXPECT_LE(MemoryOfOpening(Sparse(name, "", GIGABYTE)), 64) << name;
    }
}

TEST_F(ProbeLimit, AHoleOfMoreThan16MBBetweenPacketsIsRefused) {
    // Frames of MPEG layer 3 of 384 bytes.
    std::string frames;
    for (int i = 0; i < 2000; ++i) {
        frames += std::string("\xFF\xFB\x94\xC4", 4) + std::string(380, '\0');
    }

    const OpenedMedia media(Sparse("a.mp3", frames, 8 * GIGABYTE));

    EXPECT_EQ(media.CreateCode(), 0);
    EXPECT_EQ(media.PrepareCode(), Code(MediaError::ProbeLimit));
}

TEST_F(ProbeLimit, AStreamMayBeAsSparseAsThePicturesBetweenItsPacketsAreLarge) {
    const std::string tracks = SoundTrack(1, "A_PCM/INT/LIT", 1) + PictureTrack(2);
    const std::string picture(1 << 20, '\0');
    std::vector<MatroskaPacket> packets = {{1, 0, NoiseBytes(200)}};
    for (int i = 0; i < 20; ++i)
        packets.push_back({2, static_cast<std::uint64_t>(40 * i), picture});
    packets.push_back({1, 800, NoiseBytes(200)});
    WriteFile(folder_ / "a.mkv", MatroskaFile(tracks, packets));

    const OpenedMedia media(folder_ / "a.mkv");

    ASSERT_EQ(media.PrepareCode(), 0);
    EXPECT_EQ(media.Audio()->SampleCount(), 200);
}

TEST_F(ProbeLimit, APacketOfMoreThan64MBIsRefused) {
    const auto prepare = [&](std::size_t pictureBytes) {
        // The streams are found in the first 5 MB.
        std::vector<MatroskaPacket> packets = {{1, 0, NoiseBytes(200)}};
        for (int i = 0; i < 6; ++i) packets.push_back({2, 40, std::string(1 << 20, '\0')});
        packets.push_back({2, 800, std::string(pictureBytes, '\0')});
        packets.push_back({1, 1600, NoiseBytes(200)});
        WriteFile(folder_ / "a.mkv",
                  MatroskaFile(SoundTrack(1, "A_PCM/INT/LIT", 1) + PictureTrack(2), packets));
        return OpenedMedia(folder_ / "a.mkv").PrepareCode();
    };

    EXPECT_EQ(prepare(63 << 20), 0);
    EXPECT_EQ(prepare(65 << 20), Code(MediaError::ProbeLimit));
}

}  // namespace
