// SPDX-License-Identifier: MIT
#include "sonrel/media/index/PacketIndexer.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "sonrel/media/index/PacketSource.h"

extern "C" {
#include <libavutil/intreadwrite.h>
}

namespace zrh::media::detail {
namespace {

constexpr int SEGMENT_SECONDS = 10;
constexpr std::int64_t PACKETS_CHECKED_AT_FRONT = 24;
constexpr std::size_t PACKETS_CHECKED_AT_END = 8;
constexpr std::size_t PREROLL_OF_TAIL_CHECK = 16;
constexpr std::int64_t MAX_RECENT_BYTES = 16 << 20;
constexpr std::size_t WINDOW_BYTES = 256 * 1024;
/// A container may put a header between the position that it reports and the sound.
constexpr std::size_t MAX_PACKET_HEADER = 32;

/// Whether side data changes the decoder. A packet with such data cannot be read from the file
/// directly.
bool ChangesDecoder(const AVPacketSideData& data) {
    return data.type == AV_PKT_DATA_NEW_EXTRADATA || data.type == AV_PKT_DATA_PARAM_CHANGE ||
           data.type == AV_PKT_DATA_ENCRYPTION_INFO ||
           data.type == AV_PKT_DATA_ENCRYPTION_INIT_INFO;
}

}  // namespace

PacketIndexer::PacketIndexer(std::shared_ptr<const InputFile> file, const AVStream& stream,
                             bool decodeAll)
    : file_(std::move(file)),
      stream_(stream),
      traits_(TraitsOf(stream.codecpar->codec_id)),
      frameCounter_(*stream.codecpar, stream.time_base),
      mode_(traits_.countable && !decodeAll ? Mode::Checking : Mode::Decoding),
      decoder_(PacketDecoder::Open(*stream.codecpar, stream.time_base)) {}

void PacketIndexer::Add(const AVPacket& packet) {
    if (decoder_ == nullptr && mode_ != Mode::Trusting) return;
    Commit();
    NoteTime(packet);
    BeginSegmentIfDue(packet);

    Pending next;
    Locate(packet, &next.record);
    std::int64_t decoderSkip = 0;
    next.decoded = CountFrames(packet, &decoderSkip);
    next.skip = decoderSkip;
    std::size_t sideBytes = 0;
    const std::uint8_t* side =
        av_packet_get_side_data(&packet, AV_PKT_DATA_SKIP_SAMPLES, &sideBytes);
    if (side != nullptr && sideBytes >= 10) {
        next.skip = AV_RL32(side);
        next.discard = AV_RL32(side + 4);
    }
    next.hidden = (packet.flags & AV_PKT_FLAG_DISCARD) != 0;
    pending_ = next;
    hasPending_ = true;
    ++seen_;

    if (mode_ == Mode::Decoding) return;
    KeepForTailCheck(packet, next.decoded);
}

void PacketIndexer::KeepForTailCheck(const AVPacket& packet, std::int64_t frames) {
    recent_.push_back({OwnOrThrow<PacketPtr>(av_packet_clone(&packet)), frames});
    recentBytes_ += packet.size;
    while (recent_.size() > PREROLL_OF_TAIL_CHECK + PACKETS_CHECKED_AT_END ||
           (recentBytes_ > MAX_RECENT_BYTES && recent_.size() > 1)) {
        recentBytes_ -= recent_.front().packet->size;
        recent_.pop_front();
    }
}

std::int64_t PacketIndexer::CountFrames(const AVPacket& packet, std::int64_t* decoderSkip) {
    const std::int64_t counted = traits_.countable ? frameCounter_.FramesOf(packet) : 0;
    if (mode_ == Mode::Trusting) return counted;

    const bool whole = decoder_->Decode(&packet);
    const std::int64_t decoded = decoder_->DecodedFrames();
    *decoderSkip = decoder_->DecoderSkip();
    NoteFormat();
    if (mode_ == Mode::Checking) {
        // Some parsers and some decoders need a first packet to start.
        if (counted != decoded && seen_ > 0) {
            mode_ = Mode::Decoding;
            recent_.clear();
        } else if (seen_ + 1 >= PACKETS_CHECKED_AT_FRONT) {
            mode_ = Mode::Trusting;
            decoder_ = nullptr;
        }
    }
    // A damaged packet keeps its span if its length is known.
    if (decoded > 0 || whole) return decoded;
    silentFrames_ += counted;
    return counted;
}

void PacketIndexer::NoteFormat() {
    if (format_.format != AV_SAMPLE_FMT_NONE || decoder_->FrameCount() == 0) return;
    format_ = decoder_->FormatOf(decoder_->Frame(0));
}

void PacketIndexer::Locate(const AVPacket& packet, PacketRecord* record) {
    *record = RecordOf(packet);
    for (int i = 0; i < packet.side_data_elems; ++i) {
        if (ChangesDecoder(packet.side_data[i])) direct_ = false;
    }
    if (packet.pos < 0) direct_ = false;
    if (!direct_) return;
    const auto size = static_cast<std::size_t>(packet.size);
    const std::int64_t end =
        std::min(packet.pos + static_cast<std::int64_t>(size + MAX_PACKET_HEADER), file_->Size());
    if (packet.pos < windowStart_ ||
        end > windowStart_ + static_cast<std::int64_t>(window_.size())) {
        window_.resize(std::max(WINDOW_BYTES, size + MAX_PACKET_HEADER));
        const std::int64_t got = file_->ReadAt(packet.pos, window_.data(), window_.size());
        window_.resize(static_cast<std::size_t>(std::max<std::int64_t>(got, 0)));
        windowStart_ = packet.pos;
    }
    const auto at = static_cast<std::size_t>(packet.pos - windowStart_);
    for (std::size_t header = 0; header <= MAX_PACKET_HEADER; ++header) {
        if (at + header + size > window_.size()) break;
        if (std::memcmp(window_.data() + at + header, packet.data, size) == 0) {
            record->position = packet.pos + static_cast<std::int64_t>(header);
            if (header > 0) foundHeader_ = true;
            return;
        }
    }
    direct_ = false;
}

void PacketIndexer::NoteTime(const AVPacket& packet) {
    times_.push_back(packet.dts != AV_NOPTS_VALUE   ? packet.dts
                     : packet.pts != AV_NOPTS_VALUE ? packet.pts
                                                    : 0);
    if (times_.size() > static_cast<std::size_t>(traits_.preroll) + 1) times_.pop_front();
}

void PacketIndexer::BeginSegmentIfDue(const AVPacket& packet) {
    const std::int64_t maxFrames =
        static_cast<std::int64_t>(SEGMENT_SECONDS) * std::max(stream_.codecpar->sample_rate, 1);
    const bool due =
        decodedFrames_ - segmentStartFrames_ >= maxFrames && (packet.flags & AV_PKT_FLAG_KEY) != 0;
    if (seen_ > 0 && !due) return;
    segmentStartFrames_ = decodedFrames_;
    const auto preroll = static_cast<std::int64_t>(times_.size()) - 1;
    packets_.AddSegment({seen_, seen_ - preroll, times_.front()});
}

void PacketIndexer::Commit() {
    if (!hasPending_) return;
    hasPending_ = false;
    decodedFrames_ += pending_.decoded;
    if (pending_.skip > 0) carriedSkip_ = pending_.skip;
    const std::int64_t audible =
        pending_.hidden ? 0 : std::max<std::int64_t>(pending_.decoded - pending_.discard, 0);
    const std::int64_t skip = std::min(carriedSkip_, audible);
    carriedSkip_ -= pending_.hidden ? std::min(carriedSkip_, pending_.decoded) : skip;
    if (!packets_.AddPacket(pending_.record, static_cast<std::uint32_t>(skip),
                            static_cast<std::uint32_t>(audible - skip))) {
        hasTooManySpans_ = true;
    }
}

bool PacketIndexer::CheckTail() {
    std::unique_ptr<PacketDecoder> decoder =
        PacketDecoder::Open(*stream_.codecpar, stream_.time_base);
    if (decoder == nullptr) return false;
    const std::size_t first = recent_.size() - std::min(recent_.size(), PACKETS_CHECKED_AT_END);
    for (std::size_t i = 0; i < recent_.size(); ++i) {
        const bool whole = decoder->Decode(recent_[i].packet.get());
        std::int64_t decoded = decoder->DecodedFrames();
        if (i < first) continue;
        if (i + 1 < recent_.size()) {
            if (whole && decoded != recent_[i].frames) return false;
            continue;
        }
        // The last packet may be shorter than its header or its codec declares, or cut off.
        decoder->Decode(nullptr);
        decoded += decoder->DecodedFrames();
        pending_.decoded = std::min(pending_.decoded, decoded);
    }
    return true;
}

bool PacketIndexer::Finish(StreamIndex* index) {
    index->error = MediaError::Undecodable;
    if (mode_ != Mode::Decoding && seen_ > 0 && !CheckTail()) return false;
    if (mode_ == Mode::Decoding && hasPending_) {
        decoder_->Decode(nullptr);
        pending_.decoded += decoder_->DecodedFrames();
        NoteFormat();
    }
    Commit();
    if (!direct_ && foundHeader_) packets_.ForgetPositions();
    packets_.SetDirect(direct_);
    index->traits = traits_;
    index->silentFrames = silentFrames_;
    index->packets = std::move(packets_);
    if (hasTooManySpans_) {
        index->reason = "its packets have more than " + std::to_string(PacketIndex::MAX_SHAPES) +
                        " different lengths";
    } else if (format_.format != AV_SAMPLE_FMT_NONE) {
        index->format = format_;
        index->error = MediaError::None;
    }
    return true;
}

}  // namespace zrh::media::detail
