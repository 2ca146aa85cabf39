// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sonrel/media/index/PacketSource.h"
#include "sonrel/media/input/PacketDecoder.h"

namespace zrh::media::detail {

/// How a walk treats the borders of segments.
enum class CursorMode {
    /// A fresh decoder at every border. A sample then depends on its segment alone, not on where
    /// the walk began.
    Segments,
    /// One decoder from the first packet to the last.
    Straight
};

/// Decodes a mapped stream packet by packet. Each packet fills exactly its span of frames: output
/// that is missing is silence and output beyond it is dropped, so that damage shifts nothing.
///
/// Threads: one at a time.
class PacketCursor {
public:
    PacketCursor(std::shared_ptr<const InputFile> file, std::shared_ptr<const StreamIndex> index,
                 CursorMode mode);

    /// Makes the next packet the one to be decoded next. In Straight mode only packet 0 is allowed.
    /// @return false when packets could not be fetched
    bool MoveTo(std::int64_t packet);

    /// The packet that Next decodes.
    std::int64_t Position() const { return position_; }

    /// Decodes a packet and gives what is heard of it, in order; valid until the next call.
    /// @return false when the packet could not be fetched; the walk has to be moved again
    bool Next(std::vector<SampleBlock>* blocks);

private:
    bool Restart(std::int64_t packet);
    bool FetchAndDecode(std::int64_t packet);
    void DrainBehindLastPacket();
    void Slice(const PacketSpan& span, std::vector<SampleBlock>* blocks);
    const AVFrame* InFormat(const AVFrame& frame, std::size_t place);

    std::shared_ptr<const StreamIndex> index_;
    std::unique_ptr<PacketSource> source_;
    CursorMode mode_;
    std::unique_ptr<PacketDecoder> decoder_;
    PacketPtr packet_;
    std::int64_t position_ = 0;
    /// Packets from here on need a fresh decoder.
    std::int64_t segmentEnd_ = 0;
    std::vector<const AVFrame*> heard_;
    std::vector<FramePtr> adapted_;
    SwrPtr adapter_;
    DecodedFormat adapterFrom_;
    /// What the drain at the stream's end gave, behind the last packet's own frames.
    std::vector<FramePtr> drained_;
};

}  // namespace zrh::media::detail
