// SPDX-License-Identifier: MIT
#include "sonrel/media/index/PcmIndexer.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "sonrel/media/input/PacketDecoder.h"

namespace zrh::media::detail {
namespace {

constexpr std::array<std::string_view, 5> PLAIN_FORMATS = {"aiff", "au", "caf", "w64", "wav"};
/// A smaller file is read to its end without a seek.
constexpr std::int64_t SEEK_WORTH_BYTES = 4 << 20;
/// After the seek, reading starts this far before the expected end.
constexpr std::int64_t TAIL_BYTES = 256 << 10;

bool IsPlain(const Demuxer& demuxer, const StreamIndex& index) {
    const std::string_view name = demuxer.Context()->iformat->name;
    if (std::find(PLAIN_FORMATS.begin(), PLAIN_FORMATS.end(), name) == PLAIN_FORMATS.end()) {
        return false;
    }
    const AVCodecParameters& parameters = *index.parameters;
    if (!IsPcm(parameters.codec_id) || parameters.ch_layout.nb_channels < 1) return false;
    const int bits = av_get_exact_bits_per_sample(parameters.codec_id);
    const std::int64_t bytes =
        static_cast<std::int64_t>(bits / 8) * parameters.ch_layout.nb_channels;
    return bits % 8 == 0 && parameters.block_align == bytes;
}

/// Decodes a packet to find the format of a stream.
bool FindFormat(const AVPacket& packet, StreamIndex* index) {
    const auto decoder = PacketDecoder::Open(*index->parameters, index->timeBase);
    if (decoder == nullptr) return false;
    decoder->Decode(&packet);
    if (decoder->FrameCount() == 0) return false;
    index->format = decoder->FormatOf(decoder->Frame(0));
    return index->format.channels == index->parameters->ch_layout.nb_channels &&
           index->format.rate >= MIN_RATE && index->format.rate <= MAX_RATE;
}

/// Seeks close to the end of the file.
bool SkipToTail(const InputFile& file, Demuxer* demuxer, const AVStream& stream,
                const PcmLayout& layout) {
    const std::int64_t bytes = file.Size() - layout.offset;
    const std::int64_t frame = (bytes - TAIL_BYTES) / layout.bytesPerFrame;
    std::int64_t target =
        av_rescale_q(frame, AVRational{1, stream.codecpar->sample_rate}, stream.time_base);
    if (stream.duration > 0) target = std::min(target, stream.duration);
    return av_seek_frame(demuxer->Context(), stream.index, target, AVSEEK_FLAG_BACKWARD) >= 0;
}

}  // namespace

PcmResult IndexPcm(const InputFile& file, Demuxer* demuxer, StreamIndex* index) {
    if (!IsPlain(*demuxer, *index)) return PcmResult::Untouched;
    const PacketPtr packet = NewPacket();
    if (!demuxer->Read(packet.get()) || packet->pos < 0 || !FindFormat(*packet, index)) {
        return PcmResult::Disturbed;
    }
    const PcmLayout layout = {packet->pos, index->parameters->block_align};
    std::int64_t end = packet->pos + packet->size;
    const bool seeks = file.Size() - layout.offset >= SEEK_WORTH_BYTES;
    if (seeks && !SkipToTail(file, demuxer, *demuxer->Stream(packet->stream_index), layout)) {
        return PcmResult::Disturbed;
    }

    bool first = seeks;
    while (av_packet_unref(packet.get()), demuxer->Read(packet.get())) {
        // The first packet after a seek may start at any frame. Every other packet follows the
        // packet before it without a gap.
        const bool onGrid = (packet->pos - layout.offset) % layout.bytesPerFrame == 0;
        if (packet->pos < layout.offset || !onGrid || (!first && packet->pos != end)) {
            return PcmResult::Disturbed;
        }
        first = false;
        end = packet->pos + packet->size;
    }
    const bool sawTail = !(seeks && first);
    if (!sawTail || demuxer->Failure() != MediaError::None || end > file.Size())
        return PcmResult::Disturbed;

    index->pcm = layout;
    index->view = ViewOf(index->parameters->codec_id, index->format);
    index->totalFrames = (end - layout.offset) / layout.bytesPerFrame;
    index->error = MediaError::None;
    return PcmResult::Indexed;
}

}  // namespace zrh::media::detail
