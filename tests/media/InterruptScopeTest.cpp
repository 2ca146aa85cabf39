// SPDX-License-Identifier: MIT
#include "sonrel/media/input/InterruptScope.h"

#include <atomic>
#include <optional>
#include <thread>

#include "sonrel/media/input/ReadObserver.h"
#include "tests/media/MediaSupport.h"
#include "tests/support/MatroskaBytes.h"

using namespace sonrel_tests;
using zrh::media::InterruptScope;
using zrh::media::ReadCancelled;

namespace {

class InterruptScopeOfMedia : public testing::Test {
protected:
    InterruptScopeOfMedia() { WriteFile(folder_ / "a.wav", ConformedFileBytes(200000)); }

    ZRAbstractMediaFile* Create() const {
        ZRAbstractMediaFile* file = nullptr;
        EXPECT_EQ(zrh::media::ZRMediaFileCreate(folder_.Wide("a.wav").c_str(), &file,
                                                ZRMediaReaderType::Default),
                  0);
        return file;
    }

    static int Read(ZRAbstractAudioStream& stream) {
        std::string buffer(4000, '\0');
        int read = 0;
        return stream.GetSamples(0, 1000, buffer.data(), 4000, &read);
    }

    InterruptScope::Function Asking() {
        return [this] {
            ++asked_;
            return stop_.load();
        };
    }

    TemporaryFolder folder_;
    std::atomic<bool> stop_ = false;
    std::atomic<int> asked_ = 0;
};

TEST_F(InterruptScopeOfMedia, StopsTheOpening) {
    stop_ = true;
    const InterruptScope scope(Asking());

    EXPECT_EQ(OpenedMedia(folder_ / "a.wav").CreateCode(), Code(MediaError::Cancelled));
}

TEST_F(InterruptScopeOfMedia, StopsThePreparation) {
    const InterruptScope scope(Asking());
    ZRAbstractMediaFile* file = Create();

    stop_ = true;

    EXPECT_EQ(file->Prepare(), Code(MediaError::Cancelled));
    zrh::media::ZRMediaFileRelease(file);
}

TEST_F(InterruptScopeOfMedia, AStoppedPreparationIsNotCached) {
    {
        const InterruptScope scope(Asking());
        ZRAbstractMediaFile* file = Create();
        stop_ = true;
        file->Prepare();
        zrh::media::ZRMediaFileRelease(file);
    }

    EXPECT_EQ(OpenedMedia(folder_ / "a.wav").PrepareCode(), 0);
}

TEST_F(InterruptScopeOfMedia, StopsTheReadingWithAnException) {
    const InterruptScope scope(Asking());
    const OpenedMedia media(folder_ / "a.wav");

    stop_ = true;

    EXPECT_THROW(Read(*media.Audio()), ReadCancelled);
}

TEST_F(InterruptScopeOfMedia, StopsAConversion) {
    const InterruptScope scope(Asking());
    const OpenedMedia media(folder_ / "a.wav");

    stop_ = true;

    EXPECT_EQ(zrh::media::ZRAudioConverter::Convert(media.Audio(), folder_.Wide("out.xwmc"), 44100),
              Code(MediaError::Cancelled));
}

TEST_F(InterruptScopeOfMedia, AppliesToTheFilesOfItsThreadOnAnyReadingThread) {
    const InterruptScope scope(Asking());
    const OpenedMedia media(folder_ / "a.wav");
    stop_ = true;

    std::thread([&] { EXPECT_THROW(Read(*media.Audio()), ReadCancelled); }).join();
    std::thread([&] { EXPECT_EQ(OpenedMedia(folder_ / "a.wav").PrepareCode(), 0); }).join();
}

TEST_F(InterruptScopeOfMedia, IsNotCalledAfterItsEnd) {
    std::optional<InterruptScope> scope(std::in_place, Asking());
    const OpenedMedia media(folder_ / "a.wav");
    scope.reset();
    stop_ = true;
    const int before = asked_;

    EXPECT_EQ(Read(*media.Audio()), 0);
    EXPECT_EQ(asked_, before);
}

TEST_F(InterruptScopeOfMedia, IsNotCalledAgainAfterItStopped) {
    stop_ = true;
    const InterruptScope scope(Asking());

    EXPECT_EQ(OpenedMedia(folder_ / "a.wav").CreateCode(), Code(MediaError::Cancelled));

    EXPECT_EQ(asked_, 1);
}

TEST_F(InterruptScopeOfMedia, TheLastScopeApplies) {
    stop_ = true;
    const InterruptScope outer(Asking());
    {
        const InterruptScope inner([] { return false; });
        EXPECT_EQ(OpenedMedia(folder_ / "a.wav").CreateCode(), 0);
    }
    EXPECT_EQ(OpenedMedia(folder_ / "a.wav").CreateCode(), Code(MediaError::Cancelled));
}

TEST_F(InterruptScopeOfMedia, IsCalledForEachPieceOfAFileThatIsSearchedForSound) {
    WriteFile(folder_ / "zeros.mp3", "");
    std::filesystem::resize_file(folder_ / "zeros.mp3", 64 << 20);
    const InterruptScope scope(Asking());

    OpenedMedia(folder_ / "zeros.mp3");

    // 16 MB are searched, in pieces of 128 KB.
    EXPECT_GE(asked_, 128);
}

TEST_F(InterruptScopeOfMedia, IsCalledForEachPieceOfPicturesBetweenSound) {
    // 5 MB of the pictures are read while the streams are found.
    std::vector<MatroskaPacket> packets = {{1, 0, NoiseBytes(200)}};
    for (int i = 0; i < 10; ++i) packets.push_back({2, 40, std::string(1 << 20, '\0')});
    packets.push_back({2, 800, std::string(40 << 20, '\0')});
    packets.push_back({1, 1600, NoiseBytes(200)});
    WriteFile(folder_ / "a.mkv",
              MatroskaFile(SoundTrack(1, "A_PCM/INT/LIT", 1) + PictureTrack(2), packets));
    const InterruptScope scope(Asking());
    ZRAbstractMediaFile* file = nullptr;
    ASSERT_EQ(zrh::media::ZRMediaFileCreate(folder_.Wide("a.mkv").c_str(), &file,
                                            ZRMediaReaderType::Default),
              0);
    const int before = asked_;

    EXPECT_EQ(file->Prepare(), 0);

    // The last picture is read in pieces of 4 MB.
    EXPECT_GE(asked_ - before, 10);
    zrh::media::ZRMediaFileRelease(file);
}

TEST_F(InterruptScopeOfMedia, IsCalledForEachPacketOfAnIndexer) {
    // IMA ADPCM in mono; the container has packets of 4096 bytes.
    const std::string format = Little(0x11, 2) + Little(1, 2) + Little(48000, 4) +
                               Little(24000, 4) + Little(256, 2) + Little(4, 2) + Little(2, 2) +
                               Little(505, 2);
    WriteFile(folder_ / "b.wav",
              Riff(Chunk("fmt ", format) + Chunk("data", std::string(4096000, '\0'))));
    const InterruptScope scope(Asking());

    const OpenedMedia media(folder_ / "b.wav");

    EXPECT_EQ(media.PrepareCode(), 0);
    EXPECT_GE(asked_, 1000);
}

}  // namespace
