// SPDX-License-Identifier: MIT
// Packets and their samples where memory is short.
extern "C" {
#include <libavutil/mem.h>
}

#include <algorithm>
#include <climits>
#include <new>

#include "sonrel/media/index/PacketSource.h"
#include "sonrel/media/input/Demuxer.h"
#include "sonrel/media/input/PacketDecoder.h"
#include "tests/media/MediaSupport.h"

using namespace sonrel_tests;
using zrh::media::detail::CodecParametersPtr;
using zrh::media::detail::Demuxer;
using zrh::media::detail::InputFile;
using zrh::media::detail::NewPacket;
using zrh::media::detail::NewPacketSource;
using zrh::media::detail::PacketDecoder;
using zrh::media::detail::PacketPtr;
using zrh::media::detail::RecordOf;
using zrh::media::detail::StreamIndex;

namespace {

/// FFmpeg gets no piece of memory that is larger.
class LargestAllocation {
public:
    explicit LargestAllocation(std::size_t bytes) { av_max_alloc(bytes); }
    ~LargestAllocation() { av_max_alloc(INT_MAX); }
    LargestAllocation(const LargestAllocation&) = delete;
    LargestAllocation& operator=(const LargestAllocation&) = delete;
};

/// A decoder of 8 bits a sample to 16.
std::unique_ptr<PacketDecoder> ALawDecoder() {
    const CodecParametersPtr parameters(avcodec_parameters_alloc());
    parameters->codec_type = AVMEDIA_TYPE_AUDIO;
    parameters->codec_id = AV_CODEC_ID_PCM_ALAW;
    parameters->sample_rate = 8000;
    av_channel_layout_default(&parameters->ch_layout, 1);
    return PacketDecoder::Open(*parameters, {1, 8000});
}

PacketPtr PacketOf(int bytes) {
    PacketPtr packet = NewPacket();
    EXPECT_EQ(av_new_packet(packet.get(), bytes), 0);
    std::fill_n(packet->data, bytes, std::uint8_t{0x55});
    return packet;
}

TEST(PacketMemory, ALackOfItForTheSamplesIsNoDamageOfThePacket) {
    const auto decoder = ALawDecoder();
    const PacketPtr packet = PacketOf(10000);
    ASSERT_NE(decoder, nullptr);

    {
        const LargestAllocation tooSmall(12000);
        EXPECT_THROW(decoder->Decode(packet.get()), std::bad_alloc);
    }

    // With enough of it the packet is 10000 samples of 2 bytes.
    const auto fresh = ALawDecoder();
    EXPECT_TRUE(fresh->Decode(packet.get()));
    EXPECT_EQ(fresh->DecodedFrames(), 10000);
}

TEST(PacketMemory, ALackOfItForAPacketIsNotTheEndOfTheFile) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", WaveFile(1, 2, 44100, 16, NoiseBytes(400000)));
    std::shared_ptr<const InputFile> file;
    std::unique_ptr<Demuxer> demuxer;
    ASSERT_EQ(InputFile::Open(folder.Wide("a.wav"), &file), MediaError::None);
    ASSERT_EQ(Demuxer::Open(file, &demuxer), MediaError::None);
    const PacketPtr packet = NewPacket();
    const auto readAll = [&] {
        while (demuxer->Read(packet.get())) av_packet_unref(packet.get());
    };

    const LargestAllocation tooSmall(2000);  // of packets of 4096 bytes
    EXPECT_THROW(readAll(), std::bad_alloc);
}

/// An index of the first packet of a file, which is read through the container.
std::shared_ptr<const StreamIndex> IndexOfFirstPacket(
    const std::shared_ptr<const InputFile>& file) {
    std::unique_ptr<Demuxer> demuxer;
    EXPECT_EQ(Demuxer::Open(file, &demuxer), MediaError::None);
    const PacketPtr first = NewPacket();
    EXPECT_TRUE(demuxer->Read(first.get()));
    CodecParametersPtr parameters(avcodec_parameters_alloc());
    EXPECT_GE(avcodec_parameters_copy(parameters.get(), demuxer->Stream(0)->codecpar), 0);
    auto index = std::make_shared<StreamIndex>();
    index->parameters = std::move(parameters);
    index->packets.AddSegment({});
    EXPECT_TRUE(index->packets.AddPacket(RecordOf(*first), 0, 1024));
    return index;
}

TEST(PacketMemory, ALackOfItForOpeningTheFileAgainIsNoDamageOfTheFile) {
    const TemporaryFolder folder;
    WriteFile(folder / "a.wav", WaveFile(1, 2, 44100, 16, NoiseBytes(400000)));
    std::shared_ptr<const InputFile> file;
    ASSERT_EQ(InputFile::Open(folder.Wide("a.wav"), &file), MediaError::None);
    const auto source = NewPacketSource(file, IndexOfFirstPacket(file));
    const PacketPtr packet = NewPacket();

    {
        const LargestAllocation tooSmall(100);
        EXPECT_THROW(source->Fetch(0, packet.get()), std::bad_alloc);
    }

    EXPECT_TRUE(source->Fetch(0, packet.get()));
    EXPECT_EQ(packet->size, 4096);
}

}  // namespace
