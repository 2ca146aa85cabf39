// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

#include "sonrel/media/input/Ffmpeg.h"

namespace zrh::media::detail {

/// Gives packets room for their bytes, in buffers that are used again and again.
///
/// Threads: one at a time.
class PacketPool {
public:
    /// Gives an empty packet room for @p size bytes, with the zeros behind them that decoders ask
    /// for.
    void Allocate(std::size_t size, AVPacket* packet) {
        if (pool_ == nullptr || size > largest_) {
            largest_ = std::max(size + size / 2, MIN_BUFFER);
            pool_.reset(av_buffer_pool_init(largest_ + AV_INPUT_BUFFER_PADDING_SIZE, nullptr));
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
    std::size_t largest_ = 0;
};

}  // namespace zrh::media::detail
