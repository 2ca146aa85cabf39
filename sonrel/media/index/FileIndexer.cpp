// SPDX-License-Identifier: MIT
#include "sonrel/media/index/FileIndexer.h"

#include <algorithm>
#include <string_view>

#include "sonrel/base/Numbers.h"
#include "sonrel/base/Timing.h"
#include "sonrel/media/index/PacketCursor.h"
#include "sonrel/media/index/PacketIndexer.h"
#include "sonrel/media/index/PcmIndexer.h"
#include "sonrel/media/index/SilenceLimit.h"

namespace zrh::media::detail {
namespace {

/// Far more frames than are ever inserted, and far from an overflow.
constexpr double MAX_LEAD = 1e15;

bool RateIsAllowed(int rate) {
    return rate >= MIN_RATE && rate <= MAX_RATE;
}

std::shared_ptr<const AVCodecParameters> CopyParameters(const AVCodecParameters& from) {
    auto copy = OwnOrThrow<CodecParametersPtr>(avcodec_parameters_alloc());
    if (avcodec_parameters_copy(copy.get(), &from) < 0) throw std::bad_alloc();
    return std::shared_ptr<const AVCodecParameters>(std::move(copy));
}

std::shared_ptr<StreamIndex> NewStreamIndex(const AVStream& stream) {
    auto index = std::make_shared<StreamIndex>();
    index->streamIndex = stream.index;
    index->parameters = CopyParameters(*stream.codecpar);
    index->timeBase = stream.time_base;
    index->traits = TraitsOf(stream.codecpar->codec_id);
    return index;
}

/// The declared format, for a stream without packets.
DecodedFormat DeclaredFormat(const AVCodecParameters& parameters) {
    const AVChannelLayout& layout = parameters.ch_layout;
    return {static_cast<AVSampleFormat>(parameters.format), parameters.sample_rate,
            layout.nb_channels, layout.order == AV_CHANNEL_ORDER_NATIVE ? layout.u.mask : 0,
            parameters.bits_per_raw_sample};
}

/// Applies the end of the sound that an MP4 file declares exactly to the sample. Packets cannot.
void CutAtDeclaredEnd(const AVFormatContext& context, const AVStream& stream, StreamIndex* index) {
    if (std::string_view(context.iformat->name).find("mp4") == std::string_view::npos) return;
    if (stream.duration <= 0 || index->packets.PacketCount() == 0) return;
    const std::int64_t end =
        av_rescale_q(stream.duration, stream.time_base, AVRational{1, index->format.rate});
    if (end < 0) return;  // more than 64 bits
    const PacketSpan last = index->packets.SpanOf(index->packets.PacketCount() - 1);
    const std::int64_t surplus = index->packets.EndFrame() - end;
    // Only the padding of the last one or two packets. With a larger difference the duration is not
    // the length of the sound.
    if (surplus > 0 && surplus <= 2 * static_cast<std::int64_t>(last.skip + last.length) + 2048) {
        index->packets.CutAt(end);
    }
}

/// The checksum of all frames of some packets, in the decoder's format.
bool ChecksumOfPackets(PacketCursor* cursor, const DecodedFormat& format, std::int64_t endPacket,
                       std::uint32_t* checksum) {
    const bool planar = av_sample_fmt_is_planar(format.format) != 0;
    const int bytes = av_get_bytes_per_sample(format.format) * (planar ? 1 : format.channels);
    std::vector<SampleBlock> blocks;
    std::vector<const std::uint8_t*> planes;
    AVAdler sum = 1;
    while (cursor->Position() < endPacket) {
        if (!cursor->Next(&blocks)) return false;
        for (const SampleBlock& block : blocks) {
            if (block.planes == nullptr) continue;
            OffsetPlanes(format, block, &planes);
            for (const std::uint8_t* plane : planes) {
                sum = av_adler32_update(
                    sum, plane,
                    static_cast<std::size_t>(block.frames) * static_cast<std::size_t>(bytes));
            }
        }
    }
    *checksum = static_cast<std::uint32_t>(sum);
    return true;
}

/// Whether new decoders at the borders of segments return the same frames as a decoder that began
/// at the start of the stream.
bool RestartsCleanly(const std::shared_ptr<const InputFile>& file,
                     const std::shared_ptr<StreamIndex>& index) {
    PacketCursor straight(file, index, CursorMode::Straight);
    PacketCursor fresh(file, index, CursorMode::Segments);
    if (!straight.MoveTo(0) || !fresh.MoveTo(0)) return false;
    const auto& segments = index->packets.Segments();
    for (std::size_t i = 1; i <= segments.size(); ++i) {
        const std::int64_t end =
            i < segments.size() ? segments[i].firstPacket : index->packets.PacketCount();
        std::uint32_t straightSum = 0;
        std::uint32_t freshSum = 0;
        if (!ChecksumOfPackets(&straight, index->format, end, &straightSum) ||
            !ChecksumOfPackets(&fresh, index->format, end, &freshSum) || straightSum != freshSum) {
            return false;
        }
    }
    return true;
}

/// Sets the fields that follow from the format and the packets.
void Complete(const std::shared_ptr<const InputFile>& file, const AVFormatContext& context,
              const AVStream& stream, const std::shared_ptr<StreamIndex>& index) {
    if (index->error != MediaError::None && index->packets.PacketCount() == 0) {
        // A format without packets: a stream of no length.
        index->format = DeclaredFormat(*stream.codecpar);
        if (index->format.format != AV_SAMPLE_FMT_NONE) index->error = MediaError::None;
    }
    if (index->error != MediaError::None) return;
    if (index->format.channels < 1) {
        index->error = MediaError::Undecodable;
        return;
    }
    index->view = ViewOf(stream.codecpar->codec_id, index->format);
    if (!RateIsAllowed(index->format.rate)) {
        index->error = MediaError::RateOutOfRange;
        return;
    }
    CutAtDeclaredEnd(context, stream, index.get());
    if (!index->traits.restartable && index->packets.Segments().size() > 1 &&
        !RestartsCleanly(file, index)) {
        index->packets.MergeSegments();
    }
    index->leadFrames = LeadFrames(context, stream, index->format.rate);
    if (index->silentFrames > MaxSilentFrames(file->Size()) - index->leadFrames) {
        index->error = MediaError::TooMuchSilence;
        index->reason = SilenceRefusal(index->silentFrames + index->leadFrames, file->Size());
        return;
    }
    index->totalFrames = index->leadFrames + index->packets.EndFrame();
}

struct IndexedStream {
    const AVStream* stream = nullptr;
    std::shared_ptr<StreamIndex> index;
    std::unique_ptr<PacketIndexer> indexer;
};

/// Reads the whole file once and passes each packet to the indexer of its stream.
MediaError IndexPackets(const std::shared_ptr<const InputFile>& file, Demuxer* demuxer,
                        std::vector<IndexedStream>* streams) {
    const std::int64_t maxPackets = file->Size() + 4096;
    std::int64_t packets = 0;
    const PacketPtr packet = NewPacket();
    while (demuxer->Read(packet.get())) {
        for (const IndexedStream& entry : *streams) {
            if (entry.stream->index == packet->stream_index) entry.indexer->Add(*packet);
        }
        av_packet_unref(packet.get());
        if (++packets > maxPackets) return MediaError::TooManyPackets;
    }
    return demuxer->Failure();
}

std::vector<IndexedStream> AudioStreamsOf(const Demuxer& demuxer) {
    std::vector<IndexedStream> streams;
    for (unsigned int i = 0; i < demuxer.Context()->nb_streams; ++i) {
        const AVStream* stream = demuxer.Context()->streams[i];
        if (stream->codecpar->codec_type != AVMEDIA_TYPE_AUDIO) continue;
        streams.push_back({stream, NewStreamIndex(*stream), nullptr});
    }
    return streams;
}

void SelectAudio(Demuxer* demuxer, const std::vector<IndexedStream>& streams) {
    demuxer->SelectStreams([&](int index) {
        return std::any_of(streams.begin(), streams.end(), [index](const IndexedStream& entry) {
            return entry.stream->index == index;
        });
    });
}

MediaError CheckRates(const std::vector<IndexedStream>& streams) {
    for (const IndexedStream& entry : streams) {
        const int rate = entry.stream->codecpar->sample_rate;
        if (rate != 0 && !RateIsAllowed(rate)) return MediaError::RateOutOfRange;
        if (entry.index->error == MediaError::RateOutOfRange) return MediaError::RateOutOfRange;
    }
    return MediaError::None;
}

/// Indexes the streams in one pass over the file.
/// @param decodeAll  decodes every packet
/// @param trusted    receives false when a second pass with @p decodeAll is needed
MediaError IndexOnce(const std::shared_ptr<const InputFile>& file, Demuxer* demuxer, bool decodeAll,
                     std::vector<IndexedStream>* streams, bool* trusted) {
    SelectAudio(demuxer, *streams);
    for (IndexedStream& entry : *streams) {
        entry.indexer = std::make_unique<PacketIndexer>(file, *entry.stream, decodeAll);
    }
    const MediaError error = IndexPackets(file, demuxer, streams);
    if (error != MediaError::None) return error;
    *trusted = true;
    for (IndexedStream& entry : *streams) {
        if (!entry.indexer->Finish(entry.index.get())) *trusted = false;
        if (*trusted) Complete(file, *demuxer->Context(), *entry.stream, entry.index);
    }
    return MediaError::None;
}

/// The error and the reason of a file without a readable stream; None if a stream is readable.
MediaError ErrorOfAll(const std::vector<IndexedStream>& streams, std::string* reason) {
    if (streams.empty()) return MediaError::None;
    for (const IndexedStream& entry : streams) {
        if (entry.index->error == MediaError::None) return MediaError::None;
    }
    *reason = streams.front().index->reason;
    return streams.front().index->error;
}

}  // namespace

bool IsPicture(const AVStream& stream) {
    return stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
           (stream.disposition & (AV_DISPOSITION_ATTACHED_PIC | AV_DISPOSITION_STILL_IMAGE |
                                  AV_DISPOSITION_TIMED_THUMBNAILS)) == 0;
}

std::int64_t LeadFrames(const AVFormatContext& context, const AVStream& stream, int rate) {
    for (unsigned int i = 0; i < context.nb_streams; ++i) {
        const AVStream& picture = *context.streams[i];
        if (!IsPicture(picture) || picture.start_time == AV_NOPTS_VALUE ||
            stream.start_time == AV_NOPTS_VALUE) {
            continue;
        }
        const double later = static_cast<double>(stream.start_time) * av_q2d(stream.time_base) -
                             static_cast<double>(picture.start_time) * av_q2d(picture.time_base);
        if (!(later > 0.0)) return 0;
        return zrtl::TruncToInt64(std::min(zrtl::RoundHalfAway(later * rate), MAX_LEAD));
    }
    return 0;
}

namespace {

MediaError IndexStreams(const std::shared_ptr<const InputFile>& file,
                        std::unique_ptr<Demuxer> demuxer, FileIndex* index) {
    std::vector<IndexedStream> streams = AudioStreamsOf(*demuxer);
    MediaError error = CheckRates(streams);
    if (error != MediaError::None) return error;

    PcmResult pcm = PcmResult::Untouched;
    if (streams.size() == 1) pcm = IndexPcm(*file, demuxer.get(), streams[0].index.get());
    bool trusted = pcm == PcmResult::Indexed;
    bool fresh = pcm == PcmResult::Untouched;
    for (const bool decodeAll : {false, true}) {
        if (trusted || streams.empty()) break;
        if (!fresh) {
            error = Demuxer::Open(file, &demuxer);
            if (error != MediaError::None) return error;
            streams = AudioStreamsOf(*demuxer);
        }
        fresh = false;
        error = IndexOnce(file, demuxer.get(), decodeAll, &streams, &trusted);
        if (error != MediaError::None) return error;
    }
    error = CheckRates(streams);
    if (error == MediaError::None) error = ErrorOfAll(streams, &index->reason);
    if (error != MediaError::None) return error;
    for (IndexedStream& entry : streams) index->streams.push_back(std::move(entry.index));
    return MediaError::None;
}

}  // namespace

MediaError IndexFile(const std::shared_ptr<const InputFile>& file, std::unique_ptr<Demuxer> demuxer,
                     FileIndex* index) {
    const MediaError error = IndexStreams(file, std::move(demuxer), index);
    // RestartsCleanly cannot distinguish an interrupted read from damage.
    return file->IsInterrupted() ? MediaError::Cancelled : error;
}

}  // namespace zrh::media::detail
