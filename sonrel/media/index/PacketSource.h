// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sonrel/media/index/StreamIndex.h"
#include "sonrel/media/input/Demuxer.h"

namespace zrh::media::detail {

/// Fetches the packets of a mapped stream by their numbers.
///
/// Threads: one at a time.
class PacketSource {
public:
    virtual ~PacketSource() = default;

    /// Fetches one packet.
    /// @param index   0 to the map's packet count, exclusive
    /// @param packet  an empty packet, which receives it
    /// @return false when the disk failed or the file is no longer what the map was made of
    virtual bool Fetch(std::int64_t index, AVPacket* packet) = 0;
};

/// Makes the source that fits the map: straight from the file where the map is direct, through the
/// container otherwise.
std::unique_ptr<PacketSource> NewPacketSource(std::shared_ptr<const InputFile> file,
                                              std::shared_ptr<const StreamIndex> index);

/// The record of a packet that a container gave.
PacketRecord RecordOf(const AVPacket& packet);

}  // namespace zrh::media::detail
