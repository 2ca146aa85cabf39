// SPDX-License-Identifier: MIT
#include "sonrel/media/index/PacketSource.h"

#include <algorithm>
#include <cstring>
#include <deque>

#include "sonrel/media/input/PacketPool.h"

namespace zrh::media::detail {
namespace {

/// The first and the last bytes of a packet identify it, together with its size and its position. A
/// checksum of every byte would take as long as finding the packet.
constexpr std::size_t CHECKED_BYTES = 512;

std::uint32_t CheckOf(const std::uint8_t* bytes, std::size_t size) {
    if (size <= 2 * CHECKED_BYTES) return av_adler32_update(1, bytes, size);
    const AVAdler front = av_adler32_update(1, bytes, CHECKED_BYTES);
    return av_adler32_update(front, bytes + size - CHECKED_BYTES, CHECKED_BYTES);
}

/// Whether a packet matches a record. A container does not report every position.
bool Matches(const PacketRecord& packet, const PacketRecord& record) {
    if (packet.size != record.size || packet.check != record.check) return false;
    return packet.position < 0 || record.position < 0 || packet.position == record.position;
}

/// Reads packets directly from the file, many in one read.
class DirectSource : public PacketSource {
public:
    DirectSource(std::shared_ptr<const InputFile> file, std::shared_ptr<const StreamIndex> index)
        : file_(std::move(file)), index_(std::move(index)) {}

    bool Fetch(std::int64_t index, AVPacket* packet) override {
        if (file_->IsInterrupted()) return false;
        const PacketRecord record = index_->packets.Packet(index);
        const std::uint8_t* bytes = Bytes(record.position, record.size);
        if (bytes == nullptr || CheckOf(bytes, record.size) != record.check) return false;
        pool_.Allocate(record.size, packet);
        std::memcpy(packet->data, bytes, record.size);
        packet->pos = record.position;
        packet->flags |= AV_PKT_FLAG_KEY;
        return true;
    }

private:
    static constexpr std::size_t WINDOW_BYTES = 128 * 1024;

    const std::uint8_t* Bytes(std::int64_t position, std::size_t size) {
        const std::int64_t end = windowStart_ + static_cast<std::int64_t>(windowBytes_);
        if (position < windowStart_ || position + static_cast<std::int64_t>(size) > end) {
            window_.resize(std::max(WINDOW_BYTES, size));
            windowStart_ = position;
            windowBytes_ = 0;
            const std::int64_t got = file_->ReadAt(position, window_.data(), window_.size());
            if (got < static_cast<std::int64_t>(size)) return nullptr;
            windowBytes_ = static_cast<std::size_t>(got);
        }
        return window_.data() + (position - windowStart_);
    }

    std::shared_ptr<const InputFile> file_;
    std::shared_ptr<const StreamIndex> index_;
    std::vector<std::uint8_t> window_;
    std::int64_t windowStart_ = 0;
    std::size_t windowBytes_ = 0;
    PacketPool pool_;
};

/// Reads packets through the container. After a seek it recognises the position by the packets. If
/// that fails it seeks to an earlier position, and finally opens the file again and reads it from
/// the start.
class ContainerSource : public PacketSource {
public:
    ContainerSource(std::shared_ptr<const InputFile> file, std::shared_ptr<const StreamIndex> index)
        : file_(std::move(file)), index_(std::move(index)) {}

    bool Fetch(std::int64_t index, AVPacket* packet) override {
        if (index >= firstBroken_ || file_->IsInterrupted()) return false;
        if (const AVPacket* kept = Kept(index)) return Copy(*kept, packet);
        if (!IsNear(index) && !SeekNear(index) && !Reopen()) return Broken(index);
        if (ReadUpTo(index)) return Copy(*Kept(index), packet);
        // After a seek the container returned other packets than when the index was built.
        if (!Reopen() || !ReadUpTo(index)) return Broken(index);
        return Copy(*Kept(index), packet);
    }

private:
    /// More than the preroll of any codec, so that the next segment needs no seek.
    static constexpr std::size_t KEPT_PACKETS = 160;
    static constexpr std::int64_t KEPT_BYTES = 16 << 20;
    /// Reading this many packets takes no longer than a seek.
    static constexpr std::int64_t NEAR_PACKETS = 400;
    /// The limit of packets that are read after a seek until they match one position only.
    static constexpr int PACKETS_TO_RECOGNISE = 64;

    static bool Copy(const AVPacket& from, AVPacket* to) {
        if (av_packet_ref(to, &from) < 0) throw std::bad_alloc();
        return true;
    }

    bool Broken(std::int64_t index) {
        firstBroken_ = std::min(firstBroken_, index);
        return false;
    }

    const AVPacket* Kept(std::int64_t index) const {
        const std::int64_t first = next_ - static_cast<std::int64_t>(kept_.size());
        if (index < first || index >= next_) return nullptr;
        return kept_[static_cast<std::size_t>(index - first)].get();
    }

    bool IsNear(std::int64_t index) const {
        return demuxer_ != nullptr && index >= next_ && index - next_ < NEAR_PACKETS;
    }

    /// Opens the file again; the next packet is packet 0.
    /// @return false when the file differs from the indexed file
    /// @throws std::bad_alloc for a lack of memory, which is not damage of the file
    bool Reopen() {
        ForgetKept();
        next_ = 0;
        demuxer_ = nullptr;
        const int stream = index_->streamIndex;
        const MediaError opened = Demuxer::Open(file_, &demuxer_);
        if (opened == MediaError::OutOfMemory) throw std::bad_alloc();
        if (opened != MediaError::None) return false;
        if (static_cast<unsigned int>(stream) >= demuxer_->Context()->nb_streams ||
            demuxer_->Stream(stream)->codecpar->codec_id != index_->parameters->codec_id) {
            demuxer_ = nullptr;
            return false;
        }
        demuxer_->SelectStreams([stream](int index) { return index == stream; });
        return true;
    }

    PacketPtr ReadOne() {
        PacketPtr packet = NewPacket();
        while (demuxer_->Read(packet.get())) {
            if (packet->stream_index == index_->streamIndex) return packet;
            av_packet_unref(packet.get());
        }
        return nullptr;
    }

    void Keep(PacketPtr packet) {
        keptBytes_ += packet->size;
        kept_.push_back(std::move(packet));
        while (kept_.size() > KEPT_PACKETS || (keptBytes_ > KEPT_BYTES && kept_.size() > 1)) {
            keptBytes_ -= kept_.front()->size;
            kept_.pop_front();
        }
        ++next_;
    }

    void ForgetKept() {
        kept_.clear();
        keptBytes_ = 0;
    }

    /// Reads up to a packet and keeps it. @return false when a packet does not match the index
    bool ReadUpTo(std::int64_t index) {
        if (demuxer_ == nullptr) return false;
        while (next_ <= index) {
            PacketPtr packet = ReadOne();
            if (packet == nullptr || !Matches(RecordOf(*packet), index_->packets.Packet(next_)))
                return false;
            Keep(std::move(packet));
        }
        return true;
    }

    bool SeekNear(std::int64_t index) {
        const auto& segments = index_->packets.Segments();
        const std::size_t at = index_->packets.SegmentOf(index);
        // The second attempt is the segment before that of the packet. Near the start, reading from
        // the start is as good.
        for (std::size_t back = 0; back < 3 && at >= back + 1; ++back) {
            const Segment& segment = segments[at - back];
            if (segment.prerollPacket > index) continue;
            if (demuxer_ == nullptr && !Reopen()) return false;
            ForgetKept();
            if (av_seek_frame(demuxer_->Context(), index_->streamIndex, segment.prerollTime,
                              AVSEEK_FLAG_BACKWARD) < 0) {
                continue;
            }
            if (Recognise(index)) return true;
        }
        return false;
    }

    /// Reads packets until they match one position of the index only, at or before @p index.
    /// Packets that match none are skipped: the first packets after a seek may be cut.
    bool Recognise(std::int64_t index) {
        std::vector<std::int64_t> positions;
        std::vector<PacketPtr> seen;
        std::int64_t bytes = 0;
        for (int i = 0; i < PACKETS_TO_RECOGNISE && bytes <= KEPT_BYTES; ++i) {
            seen.push_back(ReadOne());
            if (seen.back() == nullptr) return false;
            bytes += seen.back()->size;
            const PacketRecord record = RecordOf(*seen.back());
            NarrowPositions(record, seen.size() - 1, &positions);
            if (positions.empty() && seen.size() > 1) {
                seen.erase(seen.begin(), seen.end() - 1);
                NarrowPositions(record, 0, &positions);
            }
            if (positions.empty()) seen.clear();
            if (positions.size() != 1) continue;
            if (positions.front() > index) return false;
            next_ = positions.front();
            for (PacketPtr& packet : seen) Keep(std::move(packet));
            return true;
        }
        return false;
    }

    void NarrowPositions(const PacketRecord& record, std::size_t distance,
                         std::vector<std::int64_t>* positions) const {
        const PacketIndex& packets = index_->packets;
        if (distance == 0) {
            for (std::int64_t i = 0; i < packets.PacketCount(); ++i) {
                if (Matches(record, packets.Packet(i))) positions->push_back(i);
            }
            return;
        }
        std::erase_if(*positions, [&](std::int64_t position) {
            const std::int64_t at = position + static_cast<std::int64_t>(distance);
            return at >= packets.PacketCount() || !Matches(record, packets.Packet(at));
        });
    }

    std::shared_ptr<const InputFile> file_;
    std::shared_ptr<const StreamIndex> index_;
    std::unique_ptr<Demuxer> demuxer_;
    std::deque<PacketPtr> kept_;
    std::int64_t keptBytes_ = 0;
    std::int64_t next_ = 0;
    std::int64_t firstBroken_ = INT64_MAX;
};

}  // namespace

PacketRecord RecordOf(const AVPacket& packet) {
    const auto size = static_cast<std::size_t>(packet.size);
    return {packet.pos, static_cast<std::uint32_t>(packet.size), CheckOf(packet.data, size)};
}

std::unique_ptr<PacketSource> NewPacketSource(std::shared_ptr<const InputFile> file,
                                              std::shared_ptr<const StreamIndex> index) {
    if (index->packets.IsDirect()) {
        return std::make_unique<DirectSource>(std::move(file), std::move(index));
    }
    return std::make_unique<ContainerSource>(std::move(file), std::move(index));
}

}  // namespace zrh::media::detail
