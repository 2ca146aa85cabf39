// SPDX-License-Identifier: MIT
#include "sonrel/media/detail/PartDecoder.h"

#include <algorithm>

namespace zrh::media::detail {
namespace {

/// Large enough that the threads rarely wait for each other, and small enough for the cache of a
/// core.
constexpr std::int64_t PART_FRAMES = 32768;

}  // namespace

std::int64_t PacketParts::Count() const {
    return std::max<std::int64_t>((index_->packets.EndFrame() + PART_FRAMES - 1) / PART_FRAMES, 1);
}

std::int64_t PacketParts::FirstPacket(std::int64_t part) const {
    if (part == 0) return 0;
    if (part >= Count()) return index_->packets.PacketCount();
    return index_->packets.PacketAt(part * PART_FRAMES);
}

PartDecoder::PartDecoder(std::shared_ptr<const InputFile> file,
                         std::shared_ptr<const StreamIndex> index, CursorMode mode)
    : file_(file),
      index_(index),
      parts_(index),
      cursor_(std::move(file), std::move(index), mode),
      isPlanar_(av_sample_fmt_is_planar(index_->format.format) != 0) {
    const auto channels = static_cast<std::size_t>(index_->format.channels);
    planeCount_ = isPlanar_ ? channels : 1;
    frameBytes_ = static_cast<std::size_t>(av_get_bytes_per_sample(index_->format.format)) *
                  (isPlanar_ ? 1 : channels);
}

void PartDecoder::Decode(std::int64_t number, DecodedPart* part) {
    part->blocks.clear();
    part->silences.clear();
    part->error = MediaError::None;
    part->exception = nullptr;
    part->samples.resize(planeCount_);
    part->planes.resize(planeCount_);
    for (std::vector<std::uint8_t>& plane : part->samples) plane.clear();
    try {
        DecodePackets(number, part);
    } catch (...) {
        part->exception = std::current_exception();
    }
    for (std::size_t i = 0; i < planeCount_; ++i) part->planes[i] = part->samples[i].data();
}

/// A packet without used frames is decoded too: later packets may depend on it.
void PartDecoder::DecodePackets(std::int64_t number, DecodedPart* part) {
    const std::int64_t first = parts_.FirstPacket(number);
    const std::int64_t end = parts_.FirstPacket(number + 1);
    bool canRead = first == end || cursor_.Position() == first || cursor_.MoveTo(first);
    for (std::int64_t packet = first; packet < end && canRead; ++packet) {
        canRead = cursor_.Next(&decoded_);
        if (canRead) Append(part);
    }
    if (canRead) return;
    part->error = file_->IsInterrupted() ? MediaError::Cancelled : MediaError::ReadFailed;
}

/// Appends the decoded packet.
void PartDecoder::Append(DecodedPart* part) const {
    std::int64_t silent = 0;
    for (const SampleBlock& block : decoded_) {
        if (block.planes == nullptr) {
            silent += block.frames;
            part->blocks.push_back(block);
            continue;
        }
        const auto offset = static_cast<int>(part->samples[0].size() / frameBytes_);
        for (std::size_t i = 0; i < planeCount_; ++i) {
            const std::uint8_t* from =
                block.planes[i] + static_cast<std::size_t>(block.offset) * frameBytes_;
            part->samples[i].insert(part->samples[i].end(), from,
                                    from + static_cast<std::size_t>(block.frames) * frameBytes_);
        }
        if (!part->blocks.empty() && part->blocks.back().planes != nullptr) {
            part->blocks.back().frames += block.frames;
        } else {
            part->blocks.push_back({part->planes.data(), offset, block.frames});
        }
    }
    if (silent > 0) part->silences.push_back(silent);
}

}  // namespace zrh::media::detail
