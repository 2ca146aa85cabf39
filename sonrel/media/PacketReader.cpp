// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>

#include "sonrel/media/detail/StreamReader.h"
#include "sonrel/media/index/PacketCursor.h"
#include "sonrel/media/index/SilenceLimit.h"
#include "sonrel/media/input/ReadObserver.h"

namespace zrh::media::detail {
namespace {

/// Reads a compressed stream. The packet that was decoded last is kept, so that small reads one
/// after the other only copy.
class PacketReader : public StreamReader {
public:
    PacketReader(std::shared_ptr<const InputFile> file, std::shared_ptr<const StreamIndex> map)
        : map_(std::move(map)),
          fileBytes_(file->Size()),
          walk_(std::move(file), map_, CursorMode::Segments),
          converter_(map_->format, map_->view),
          bytesPerFrame_(static_cast<std::size_t>(map_->view.BytesPerSample()) *
                         static_cast<std::size_t>(map_->format.channels)) {}

    int Read(std::int64_t start, int count, std::uint8_t* buffer) override {
        int done = 0;
        while (done < count) {
            const std::int64_t frame = start + done;
            if (!HoldPacketOf(frame)) break;
            const std::int64_t taken = std::min<std::int64_t>(count - done, windowEnd_ - frame);
            std::memcpy(
                buffer + static_cast<std::size_t>(done) * bytesPerFrame_,
                window_.data() + static_cast<std::size_t>(frame - windowStart_) * bytesPerFrame_,
                static_cast<std::size_t>(taken) * bytesPerFrame_);
            done += static_cast<int>(taken);
        }
        return done;
    }

private:
    bool HoldPacketOf(std::int64_t streamFrame) {
        if (streamFrame >= windowStart_ && streamFrame < windowEnd_) return true;
        const std::int64_t frame = streamFrame - map_->leadFrames;
        const std::int64_t packet = map_->packets.PacketAt(frame);
        if (packet >= brokenFrom_ && packet < brokenEnd_) return false;
        window_.clear();
        windowStart_ = windowEnd_ = 0;
        if (!walk_.MoveTo(packet) || !walk_.Next(&blocks_)) {
            NoteBroken(packet);
            return false;
        }
        CountSilence(packet);
        for (const SampleBlock& block : blocks_) converter_.Append(block, &window_);
        const PacketSpan span = map_->packets.SpanOf(packet);
        windowStart_ = map_->leadFrames + span.startFrame;
        windowEnd_ = windowStart_ + span.length;
        return true;
    }

    /// Before the silence of the packet takes memory. @throws SilenceRefused
    void CountSilence(std::int64_t packet) const {
        std::int64_t silent = 0;
        for (const SampleBlock& block : blocks_) {
            if (block.planes == nullptr) silent += block.frames;
        }
        if (silent == 0) return;
        const std::int64_t all = map_->leadFrames + map_->silence->Add(packet, silent);
        if (all > MaxSilentFrames(fileBytes_)) {
            throw SilenceRefused(SilenceRefusal(all, fileBytes_));
        }
    }

    /// The rest of the segment is given up with its first unreadable packet, so that reading on in
    /// small steps does not try the disk again for each of them.
    void NoteBroken(std::int64_t packet) {
        const auto& segments = map_->packets.Segments();
        const std::size_t at = map_->packets.SegmentOf(packet);
        brokenFrom_ = packet;
        brokenEnd_ =
            at + 1 < segments.size() ? segments[at + 1].firstPacket : map_->packets.PacketCount();
    }

    std::shared_ptr<const StreamIndex> map_;
    std::int64_t fileBytes_;
    PacketCursor walk_;
    ViewConverter converter_;
    std::size_t bytesPerFrame_;
    std::vector<SampleBlock> blocks_;
    std::vector<std::uint8_t> window_;
    std::int64_t windowStart_ = 0;
    std::int64_t windowEnd_ = 0;
    std::int64_t brokenFrom_ = 0;
    std::int64_t brokenEnd_ = 0;
};

}  // namespace

std::unique_ptr<StreamReader> NewPacketReader(std::shared_ptr<const InputFile> file,
                                              std::shared_ptr<const StreamIndex> map) {
    return std::make_unique<PacketReader>(std::move(file), std::move(map));
}

}  // namespace zrh::media::detail
