// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sonrel/media/index/PacketSource.h"
#include "sonrel/media/input/PacketDecoder.h"

namespace zrh::media::detail {

/// The decoders of a cursor.
enum class CursorMode {
    /// A new decoder at the start of every segment. A sample then depends on its segment only, not
    /// on the position where the cursor started.
    Segments,
    /// One decoder for all packets.
    Straight
};

/// Decodes an indexed stream packet by packet.
///
/// Each packet fills exactly its span of frames in the index: missing output becomes silence, and
/// surplus output is dropped, so that a damaged packet does not shift the packets after it.
///
/// To move to a packet in Segments mode, the cursor opens a decoder, feeds it the preroll packets
/// of the segment and drops their output, then decodes from the first packet of the segment to the
/// wanted packet. Packets of codecs without dependencies are decoded directly. To move forward in a
/// segment it continues with the decoder it has. Because every segment starts in the same way, the
/// samples of a stream do not depend on the order of the reads.
///
/// In Straight mode the decoder starts at the first packet that is read. A conversion reads the
/// stream once from start to end and uses this mode, except for packets without dependencies. The
/// indexer makes a single segment of a stream whose samples would differ between the modes.
///
/// Decoders hold back frames. After the last packet the decoder is drained, and the drained frames
/// belong to the span of the last packet.
///
/// Threads: one at a time.
class PacketCursor {
public:
    PacketCursor(std::shared_ptr<const InputFile> file, std::shared_ptr<const StreamIndex> index,
                 CursorMode mode);

    /// Moves to a packet, for Next. In Straight mode only before the first call of Next.
    /// @return false when packets could not be fetched
    bool MoveTo(std::int64_t packet);

    /// The packet that the next call of Next decodes.
    std::int64_t Position() const { return position_; }

    /// Decodes a packet.
    /// @param blocks  receives the frames of its span in order; valid until the next call
    /// @return false when the packet could not be fetched; then call MoveTo before Next
    bool Next(std::vector<SampleBlock>* blocks);

private:
    bool Restart(std::int64_t packet);
    bool FetchAndDecode(std::int64_t packet);
    void DrainAfterLastPacket();
    void Slice(const PacketSpan& span, std::vector<SampleBlock>* blocks);
    bool PrepareAdapter(const DecodedFormat& got);
    const AVFrame* InFormat(const AVFrame& frame, std::size_t number);

    std::shared_ptr<const StreamIndex> index_;
    std::unique_ptr<PacketSource> source_;
    CursorMode mode_;
    std::unique_ptr<PacketDecoder> decoder_;
    PacketPtr packet_;
    std::int64_t position_ = 0;
    /// Packets from here on need a new decoder.
    std::int64_t segmentEnd_ = 0;
    std::vector<const AVFrame*> frames_;  ///< of the packet at the position, before its span is cut
    std::vector<FramePtr> adapted_;
    SwrPtr adapter_;
    DecodedFormat adapterFrom_;
    /// The frames of the last packet, moved before the decoder was drained.
    std::vector<FramePtr> drained_;
};

}  // namespace zrh::media::detail
