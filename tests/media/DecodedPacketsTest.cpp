// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/DecodedPackets.h"

#include <pthread.h>
#include <sched.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <set>
#include <thread>

#include "sonrel/media/ConversionObserver.h"
#include "sonrel/media/detail/AudioStream.h"
#include "sonrel/media/detail/DecoderThreads.h"
#include "sonrel/media/detail/PartsInOrder.h"
#include "sonrel/media/input/InterruptScope.h"
#include "tests/media/CodecMedia.h"
#include "tests/media/ConversionSupport.h"
#include "tests/support/ResourceLimit.h"
#include "tests/support/Threads.h"

using namespace sonrel_tests;
using zrh::media::ConversionObserver;
using zrh::media::InterruptScope;
using zrh::media::ZRAudioConverter;
using zrh::media::detail::AudioStream;
using zrh::media::detail::CursorMode;
using zrh::media::detail::DecodedPart;
using zrh::media::detail::DecodedSource;
using zrh::media::detail::DecoderThreads;
using zrh::media::detail::NewDecodedPackets;
using zrh::media::detail::OffsetPlanes;
using zrh::media::detail::PacketIndex;
using zrh::media::detail::PacketParts;
using zrh::media::detail::PartsInOrder;
using zrh::media::detail::SampleBlock;
using zrh::media::detail::StreamIndex;

namespace {

/// Appends the samples of the first plane; a silent frame is one byte.
void Append(const StreamIndex& index, const std::vector<SampleBlock>& blocks, std::string* bytes) {
    const bool isPlanar = av_sample_fmt_is_planar(index.format.format) != 0;
    const int frame =
        av_get_bytes_per_sample(index.format.format) * (isPlanar ? 1 : index.format.channels);
    for (const SampleBlock& block : blocks) {
        if (block.planes == nullptr) {
            bytes->append(static_cast<std::size_t>(block.frames), 's');
            continue;
        }
        bytes->append(reinterpret_cast<const char*>(block.planes[0]) + block.offset * frame,
                      static_cast<std::size_t>(block.frames * frame));
    }
}

/// An audio stream of the media library.
class Stream {
public:
    explicit Stream(const std::filesystem::path& path)
        : media_(path), stream_(std::dynamic_pointer_cast<AudioStream>(media_.Audio())) {}

    const StreamIndex& Index() const { return *stream_->Index(); }
    PartsInOrder Parts(CursorMode mode, int threads) const {
        return {stream_->File(), stream_->Index(), mode, 0, threads};
    }

    /// The samples of all parts, up to an error.
    std::string Decode(CursorMode mode, int threads, MediaError* error = nullptr) const {
        PartsInOrder parts(stream_->File(), stream_->Index(), mode, 0, threads);
        std::string bytes;
        for (std::int64_t i = PacketParts(stream_->Index()).Count(); i > 0; --i) {
            const DecodedPart& part = parts.Next();
            if (error != nullptr) *error = part.error;
            if (part.error != MediaError::None) break;
            Append(Index(), part.blocks, &bytes);
        }
        return bytes;
    }

    /// The samples of a conversion's source.
    std::string Source() const {
        const auto source = NewDecodedPackets(stream_->File(), stream_->Index());
        std::string bytes;
        std::vector<SampleBlock> blocks;
        while (source->Next(&blocks) == MediaError::None && !blocks.empty()) {
            Append(Index(), blocks, &bytes);
        }
        return bytes;
    }

private:
    OpenedMedia media_;
    std::shared_ptr<AudioStream> stream_;
};

std::uint8_t Crc8(const std::uint8_t* bytes, std::size_t count) {
    unsigned int sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        sum ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit) sum = (sum << 1) ^ ((sum & 0x80) != 0 ? 0x107u : 0u);
    }
    return static_cast<std::uint8_t>(sum);
}

/// Sets the rate in the header of a FLAC frame.
/// @param code  0: the rate of the stream; 9: 44100 Hz; 10: 48000 Hz
void SetRateCode(std::uint8_t* frame, int code) {
    std::size_t bytes = 5;  // with a frame number below 128
    if ((frame[4] & 0xE0) == 0xC0) bytes = 6;
    const int lengthCode = frame[2] >> 4;
    if (lengthCode == 6) bytes += 1;
    if (lengthCode == 7) bytes += 2;
    frame[2] = static_cast<std::uint8_t>((frame[2] & 0xF0) | code);
    frame[bytes] = Crc8(frame, bytes);
}

/// Copies FLAC in Matroska. No frame of the copy has its own rate, except for a frame with another
/// rate.
void CopyWithAnotherRateIn(std::int64_t packet, const std::filesystem::path& copy) {
    const Stream intact(CodecMedia("flac.mka"));
    const PacketIndex& packets = intact.Index().packets;
    std::string bytes = ReadFile(CodecMedia("flac.mka"));
    for (std::int64_t i = 0; i < packets.PacketCount(); ++i) {
        SetRateCode(reinterpret_cast<std::uint8_t*>(bytes.data()) + packets.Packet(i).position,
                    i == packet ? 10 : 0);
    }
    WriteFile(copy, bytes);
}

/// Allows the calling thread one core only.
class SingleCore {
public:
    SingleCore() {
        sched_getaffinity(0, sizeof(before_), &before_);
        cpu_set_t one;
        CPU_ZERO(&one);
        for (int i = 0; i < CPU_SETSIZE && CPU_COUNT(&one) == 0; ++i) {
            if (CPU_ISSET(i, &before_)) CPU_SET(i, &one);
        }
        sched_setaffinity(0, sizeof(one), &one);
    }
    ~SingleCore() { sched_setaffinity(0, sizeof(before_), &before_); }
    SingleCore(const SingleCore&) = delete;
    SingleCore& operator=(const SingleCore&) = delete;

private:
    cpu_set_t before_;
};

int Cores() {
    cpu_set_t set;
    return sched_getaffinity(0, sizeof(set), &set) == 0 ? CPU_COUNT(&set) : 1;
}

bool HasSeveralCores() {
    return Cores() > 1;
}

/// Converts media files of the folder and notes the threads that read them.
class ThreadedConversion : public testing::Test {
protected:
    int Convert(const std::filesystem::path& path) {
        const InterruptScope scope([this] {
            const std::lock_guard lock(mutex_);
            threads_.insert(std::this_thread::get_id());
            return isReading_ && ++reads_ == stopAt_;
        });
        const OpenedMedia media(path);
        {
            const std::lock_guard lock(mutex_);
            threads_.clear();
            isReading_ = true;
        }
        return ZRAudioConverter::Convert(media.Audio(), folder_.Wide("out.xwmc"), 48000);
    }

    /// Converts a WAVE file. @return the threads that the conversion starts
    std::size_t NewThreadsOfWave(int rate, std::size_t frames) {
        WriteFile(folder_ / "a.wav", WaveFile(1, 2, rate, 16, NoiseBytes(4 * frames)));
        std::filesystem::remove(folder_ / "out.xwmc");
        const std::set<std::string> before = ThreadNumbers();
        std::set<std::string> during;
        const ConversionObserver observer([&](long long, long long) {
            during.merge(ThreadNumbers());
            return true;
        });
        EXPECT_EQ(Convert(folder_ / "a.wav"), 0);
        return CountNew(during, before);
    }

    bool OnlyThisThreadHasRead() const {
        return threads_ == std::set<std::thread::id>{std::this_thread::get_id()};
    }

    std::string Output() const { return ReadFile(folder_ / "out.xwmc"); }

    TemporaryFolder folder_;
    std::mutex mutex_;
    std::set<std::thread::id> threads_;  // guarded by mutex_, like the members below
    bool isReading_ = false;
    int reads_ = 0;
    int stopAt_ = 0;
};

}  // namespace

TEST(PartsInOrder, AnyNumberOfThreadsDecodesTheSamplesOfOneDecoder) {
    for (const char* file : {"flac.flac", "flac.mka", "alac.m4a", "adpcm.wav", "tta.tta"}) {
        const Stream stream(CodecMedia(file));
        ASSERT_TRUE(stream.Index().traits.independent) << file;
        const std::string samples = stream.Decode(CursorMode::Straight, 0);
        ASSERT_GT(samples.size(), 500000u) << file;

        for (const int threads : {0, 1, 2, 3, 7}) {
            EXPECT_TRUE(stream.Decode(CursorMode::Segments, threads) == samples)
                << file << " " << threads;
        }
    }
}

TEST(PartsInOrder, AThreadDecodesPacketsThatDependOnEachOther) {
    for (const char* file : {"mp3.mp3", "aac.m4a", "vorbis.ogg", "opus.opus", "ac3.ac3"}) {
        const Stream stream(CodecMedia(file));

        EXPECT_TRUE(stream.Decode(CursorMode::Straight, 1) ==
                    stream.Decode(CursorMode::Straight, 0))
            << file;
    }
}

TEST(PartsInOrder, TheErrorFollowsTheIntactParts) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.flac", ReadFile(CodecMedia("flac.flac")));
    const Stream stream(folder / "a.flac");
    const std::string whole = stream.Decode(CursorMode::Straight, 0);
    std::filesystem::resize_file(folder / "a.flac",
                                 std::filesystem::file_size(folder / "a.flac") / 2);
    MediaError expectedError = MediaError::None;
    const std::string expected = stream.Decode(CursorMode::Segments, 0, &expectedError);
    ASSERT_EQ(expectedError, MediaError::ReadFailed);
    ASSERT_GT(expected.size(), 500000u);
    ASSERT_TRUE(whole.substr(0, expected.size()) == expected);

    for (const int threads : {1, 3}) {
        MediaError error = MediaError::None;
        EXPECT_TRUE(stream.Decode(CursorMode::Segments, threads, &error) == expected) << threads;
        EXPECT_EQ(error, MediaError::ReadFailed) << threads;
    }
}

TEST(PartsInOrder, CanEndBeforeAllPartsAreDecoded) {
    const Stream stream(CodecMedia("flac.flac"));

    for (int parts = 0; parts < 3; ++parts) {
        PartsInOrder decoding = stream.Parts(CursorMode::Segments, 3);
        for (int i = 0; i < parts; ++i) EXPECT_FALSE(decoding.Next().blocks.empty());
    }
}

TEST(DecodedPackets, AfterSilenceInAPacketOneDecoderDecodesTheRest) {
    // The decoder takes the rate of the last frame that has a rate: all frames after it have a
    // rate that the stream does not have.
    const TemporaryFolder folder;
    CopyWithAnotherRateIn(40, folder / "a.mka");
    const Stream stream(folder / "a.mka");
    const std::string samples = stream.Decode(CursorMode::Straight, 0);
    ASSERT_EQ(samples.substr(0, 1000), Stream(CodecMedia("flac.mka")).Source().substr(0, 1000));
    ASSERT_EQ(samples.substr(samples.size() - 1000), std::string(1000, 's'));

    EXPECT_TRUE(stream.Source() == samples);
}

TEST(DecodedPackets, DamagedPacketsAreDecodedAsByOneDecoder) {
    const TemporaryFolder folder;
    for (const char* file : {"flac.flac", "alac.m4a", "wavpack.wv", "tta.tta", "mp3.mp3"}) {
        std::string bytes = ReadFile(CodecMedia(file));
        for (const std::size_t place : {3, 5, 6}) {
            bytes.replace(bytes.size() * place / 8, 40, std::string(40, '\x55'));
        }
        const auto path =
            folder / (std::string("a") + std::filesystem::path(file).extension().string());
        WriteFile(path, bytes);
        const Stream stream(path);

        EXPECT_TRUE(stream.Source() == stream.Decode(CursorMode::Straight, 0)) << file;
    }
}

TEST_F(ThreadedConversion, OfTenSecondsIsDecodedOnOtherThreads) {
    for (const char* file : {"flac.flac", "mp3.mp3", "aac.ts"}) {
        EXPECT_EQ(Convert(CodecMedia(file)), 0) << file;
        EXPECT_EQ(threads_.contains(std::this_thread::get_id()) && threads_.size() > 1,
                  HasSeveralCores())
            << file;
        std::filesystem::remove(folder_ / "out.xwmc");
    }
}

TEST_F(ThreadedConversion, OfLessThanTenSecondsIsDecodedOnTheCallingThread) {
    EXPECT_EQ(Convert(CodecMedia("late.mp4")), 0);

    EXPECT_TRUE(OnlyThisThreadHasRead());
}

TEST_F(ThreadedConversion, OnOneCoreIsDecodedOnTheCallingThreadWithTheSameBytes) {
    for (const char* file : {"flac.flac", "mp3.mp3"}) {
        const Conversion threaded(CodecMedia(file), 48000);
        const SingleCore single;

        EXPECT_EQ(Convert(CodecMedia(file)), 0) << file;
        EXPECT_TRUE(OnlyThisThreadHasRead()) << file;
        EXPECT_TRUE(Output() == threaded.Bytes()) << file;
        std::filesystem::remove(folder_ / "out.xwmc");
    }
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

TEST_F(ThreadedConversion, WhereTheSystemRefusesThreadsIsDecodedOnTheCallingThread) {
    const Conversion threaded(CodecMedia("flac.flac"), 48000);
    pthread_attr_t before;
    pthread_getattr_default_np(&before);
    pthread_attr_t tooLarge;
    pthread_attr_init(&tooLarge);
    pthread_attr_setstacksize(&tooLarge, std::size_t{1} << 46);
    ASSERT_EQ(pthread_setattr_default_np(&tooLarge), 0);

    const int code = Convert(CodecMedia("flac.flac"));

    pthread_setattr_default_np(&before);
    EXPECT_EQ(code, 0);
    EXPECT_TRUE(OnlyThisThreadHasRead());
    EXPECT_TRUE(Output() == threaded.Bytes());
}

#endif

TEST_F(ThreadedConversion, TheProgressIsInOrderOnTheCallingThread) {
    std::vector<long long> done;
    const ConversionObserver observer([&](long long doneFrames, long long totalFrames) {
        EXPECT_EQ(totalFrames, 542430);
        done.push_back(doneFrames);
        return true;
    });

    ASSERT_EQ(Convert(CodecMedia("flac.flac")), 0);

    ASSERT_GT(done.size(), 8u);
    EXPECT_EQ(done.front(), 0);
    EXPECT_EQ(done.back(), 542430);
    EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
}

TEST_F(ThreadedConversion, TheObserverCanCancel) {
    const ConversionObserver observer(
        [](long long doneFrames, long long) { return doneFrames < 100000; });

    EXPECT_EQ(Convert(CodecMedia("flac.flac")), Code(MediaError::Cancelled));
}

TEST_F(ThreadedConversion, AnInterruptOnAnyThreadCancels) {
    for (const char* file : {"flac.flac", "mp3.mp3", "aac.ts"}) {
        isReading_ = false;
        reads_ = 0;
        stopAt_ = 50;

        EXPECT_EQ(Convert(CodecMedia(file)), Code(MediaError::Cancelled)) << file;
        std::filesystem::remove(folder_ / "out.xwmc");
    }
}

TEST_F(ThreadedConversion, OfMediaThatAreCutMeanwhileFails) {
    for (const char* file : {"flac.flac", "mp3.mp3"}) {
        const std::filesystem::path path = folder_ / file;
        WriteFile(path, ReadFile(CodecMedia(file)));
        const ConversionObserver observer([&](long long doneFrames, long long) {
            const auto half = ReadFile(CodecMedia(file)).size() / 2;
            if (doneFrames == 0) std::filesystem::resize_file(path, half);
            return true;
        });

        EXPECT_EQ(Convert(path), Code(MediaError::ReadFailed)) << file;
        std::filesystem::remove(folder_ / "out.xwmc");
    }
}

TEST_F(ThreadedConversion, ToAFullDiskFails) {
    const FileSizeLimit limit(1 << 20);

    EXPECT_EQ(Convert(CodecMedia("flac.flac")), Code(MediaError::OutputFailed));
}

TEST_F(ThreadedConversion, AFullDiskPrecedesAnErrorOfALaterPart) {
    // There is space for 5.4 of the 12.3 s. The media file is cut after about 9 s.
    const std::filesystem::path path = folder_ / "a.flac";
    WriteFile(path, ReadFile(CodecMedia("flac.flac")));
    const ConversionObserver observer([&](long long doneFrames, long long) {
        if (doneFrames == 0) {
            std::filesystem::resize_file(path, std::filesystem::file_size(path) / 4 * 3);
        }
        return true;
    });
    const FileSizeLimit limit(1 << 20);

    EXPECT_EQ(Convert(path), Code(MediaError::OutputFailed));
}

TEST_F(ThreadedConversion, OfTenSecondsToAnotherRateIsWrittenOnAnotherThread) {
    // No thread decodes samples that are not compressed.
    EXPECT_EQ(NewThreadsOfWave(44100, 441000), HasSeveralCores() ? 1u : 0u);
    EXPECT_EQ(NewThreadsOfWave(44100, 440999), 0u);
    EXPECT_EQ(NewThreadsOfWave(48000, 480000), 0u);
}

TEST(DecoderThreads, AllSharesTogetherHaveTheThreadsOfTheCores) {
    const int cores = HasSeveralCores() ? Cores() : 0;
    {
        const DecoderThreads all(cores + 1);
        const DecoderThreads none(1);

        EXPECT_EQ(all.Count(), cores);
        EXPECT_EQ(none.Count(), 0);
    }
    EXPECT_EQ(DecoderThreads(1).Count(), std::min(cores, 1));
}

TEST(DecoderThreads, ASingleCoreHasNone) {
    const SingleCore single;

    EXPECT_EQ(DecoderThreads(8).Count(), 0);
}
