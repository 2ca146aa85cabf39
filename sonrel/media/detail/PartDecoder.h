// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <vector>

#include "sonrel/media/index/PacketCursor.h"

namespace zrh::media::detail {

/// The packets of a stream, divided into parts of about equal length.
class PacketParts {
public:
    explicit PacketParts(std::shared_ptr<const StreamIndex> index) : index_(std::move(index)) {}

    /// At least 1.
    std::int64_t Count() const;
    /// The first packet of a part; of Count(), the number of packets.
    std::int64_t FirstPacket(std::int64_t part) const;

private:
    std::shared_ptr<const StreamIndex> index_;
};

/// The decoded samples of consecutive packets. A part is reused, so that its memory is allocated
/// once.
struct DecodedPart {
    /// The frames in order; valid until the part is reused. Silence has no planes.
    std::vector<SampleBlock> blocks;
    /// Frames of silence in each packet that has silence.
    std::vector<std::int64_t> silences;
    /// Why the packets could not be decoded, or None.
    MediaError error = MediaError::None;
    /// An exception of the decoding; null for none.
    std::exception_ptr exception;

    std::vector<std::vector<std::uint8_t>> samples;  ///< of each plane
    std::vector<const std::uint8_t*> planes;         ///< of the blocks
};

/// Decodes parts of a stream.
///
/// Threads: one at a time. Several decoders of one stream may run at the same time.
class PartDecoder {
public:
    PartDecoder(std::shared_ptr<const InputFile> file, std::shared_ptr<const StreamIndex> index,
                CursorMode mode);

    /// Decodes a part. In Straight mode the parts must be consecutive; the first may be any part.
    /// @param part  receives the samples, or the error or exception
    void Decode(std::int64_t number, DecodedPart* part);

private:
    void DecodePackets(std::int64_t number, DecodedPart* part);
    void Append(DecodedPart* part) const;

    std::shared_ptr<const InputFile> file_;
    std::shared_ptr<const StreamIndex> index_;
    PacketParts parts_;
    PacketCursor cursor_;
    bool isPlanar_;
    std::size_t planeCount_;
    std::size_t frameBytes_;  ///< of a plane
    std::vector<SampleBlock> decoded_;
};

}  // namespace zrh::media::detail
