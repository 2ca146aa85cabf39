// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/SampleWindow.h"
#include "sonrel/media/detail/StreamReader.h"
#include "sonrel/media/index/PacketCursor.h"
#include "sonrel/media/index/SilenceLimit.h"
#include "sonrel/media/input/ReadObserver.h"

namespace zrh::media::detail {
namespace {

/// Reads a compressed stream. The window contains the packet that was decoded last.
class PacketReader : public StreamReader {
public:
    PacketReader(std::shared_ptr<const InputFile> file, std::shared_ptr<const StreamIndex> index)
        : index_(std::move(index)),
          fileBytes_(file->Size()),
          cursor_(std::move(file), index_, CursorMode::Segments),
          converter_(index_->format, index_->view),
          window_{index_->ViewFrameBytes(), {}, {}} {}

    int Read(std::int64_t start, int count, std::uint8_t* buffer) override {
        return window_.Read(start, count, buffer,
                            [this](std::int64_t frame) { return LoadPacketOf(frame); });
    }

private:
    bool LoadPacketOf(std::int64_t streamFrame) {
        const std::int64_t packet = index_->packets.PacketAt(streamFrame - index_->leadFrames);
        if (brokenPackets_.Contains(packet)) return false;
        window_.bytes.clear();
        window_.frames = {};
        if (!cursor_.MoveTo(packet) || !cursor_.Next(&blocks_)) {
            NoteBroken(packet);
            return false;
        }
        CountSilence(packet);
        for (const SampleBlock& block : blocks_) converter_.Append(block, &window_.bytes);
        const PacketSpan span = index_->packets.SpanOf(packet);
        window_.frames.start = index_->leadFrames + span.startFrame;
        window_.frames.end = window_.frames.start + span.length;
        return true;
    }

    /// Called before the silence of the packet takes memory. @throws SilenceRefused
    void CountSilence(std::int64_t packet) const {
        std::int64_t silent = 0;
        for (const SampleBlock& block : blocks_) {
            if (block.planes == nullptr) silent += block.frames;
        }
        if (silent == 0) return;
        const std::int64_t all = index_->leadFrames + index_->silence->Add(packet, silent);
        if (all > MaxSilentFrames(fileBytes_)) {
            throw SilenceRefused(SilenceRefusal(all, fileBytes_));
        }
    }

    /// Gives up the rest of the segment after its first unreadable packet, so that further small
    /// reads do not try the disk again.
    void NoteBroken(std::int64_t packet) {
        const auto& segments = index_->packets.Segments();
        const std::size_t next = index_->packets.SegmentOf(packet) + 1;
        brokenPackets_ = {packet, next < segments.size() ? segments[next].firstPacket
                                                         : index_->packets.PacketCount()};
    }

    std::shared_ptr<const StreamIndex> index_;
    std::int64_t fileBytes_;
    PacketCursor cursor_;
    ViewConverter converter_;
    std::vector<SampleBlock> blocks_;
    SampleWindow window_;
    zrtl::FrameRange brokenPackets_;
};

}  // namespace

std::unique_ptr<StreamReader> NewPacketReader(std::shared_ptr<const InputFile> file,
                                              std::shared_ptr<const StreamIndex> index) {
    return std::make_unique<PacketReader>(std::move(file), std::move(index));
}

}  // namespace zrh::media::detail
