// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sonrel/media/index/StreamIndex.h"
#include "sonrel/media/input/Demuxer.h"

namespace zrh::media::detail {

/// Fetches the packets of an indexed stream by number.
///
/// Threads: one at a time.
class PacketSource {
public:
    virtual ~PacketSource() = default;

    /// Fetches one packet.
    /// @param index   0 to the packet count of the index, exclusive
    /// @param packet  an empty packet, which receives the data
    /// @return false when the disk failed or the file differs from the indexed file
    /// @throws std::bad_alloc without memory for the packet or for opening the file again
    virtual bool Fetch(std::int64_t index, AVPacket* packet) = 0;
};

/// Makes the source for an index: directly from the file if the index is direct, otherwise through
/// the container.
std::unique_ptr<PacketSource> NewPacketSource(std::shared_ptr<const InputFile> file,
                                              std::shared_ptr<const StreamIndex> index);

/// The record of a packet from a container.
PacketRecord RecordOf(const AVPacket& packet);

}  // namespace zrh::media::detail
