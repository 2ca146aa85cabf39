// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

#include "sonrel/media/input/Ffmpeg.h"

namespace zrh::media::detail {

/// Allocates the bytes of packets in buffers that are reused.
///
/// Threads: one at a time.
class PacketPool {
public:
    /// Allocates @p size bytes for an empty packet, followed by the zeros that decoders require.
    void Allocate(std::size_t size, AVPacket* packet) {
        if (pool_ == nullptr || size > bufferBytes_) {
            bufferBytes_ = std::max(size + size / 2, MIN_BUFFER);
            pool_.reset(av_buffer_pool_init(bufferBytes_ + AV_INPUT_BUFFER_PADDING_SIZE, nullptr));
            if (pool_ == nullptr) throw std::bad_alloc();
        }
        packet->buf = av_buffer_pool_get(pool_.get());
        if (packet->buf == nullptr) throw std::bad_alloc();
        packet->data = packet->buf->data;
        packet->size = static_cast<int>(size);
        std::memset(packet->data + size, 0, AV_INPUT_BUFFER_PADDING_SIZE);
    }

private:
    static constexpr std::size_t MIN_BUFFER = 4096;

    BufferPoolPtr pool_;
    std::size_t bufferBytes_ = 0;
};

}  // namespace zrh::media::detail
