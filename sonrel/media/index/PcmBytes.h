// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "sonrel/media/index/StreamIndex.h"
#include "sonrel/media/input/InputFile.h"
#include "sonrel/media/input/PacketDecoder.h"
#include "sonrel/media/input/PacketPool.h"

namespace zrh::media::detail {

/// Fetches samples of a stream with a PcmLayout, in the format of its decoder.
///
/// Threads: one at a time.
class PcmBytes {
public:
    PcmBytes(std::shared_ptr<const InputFile> file, std::shared_ptr<const StreamIndex> index);

    /// Whether the bytes in the file equal the decoder's output.
    bool IsNative() const { return native_; }

    /// Reads frames without decoding.
    /// @return the frames read, fewer than @p count when the file was cut; -1 when the disk failed
    int ReadRaw(std::int64_t start, int count, void* buffer) const;

    /// Reads and decodes frames.
    /// @param block  receives them; valid until the next call; its length is the frames read
    /// @return false when the disk failed or the file was cut at or before @p start
    bool Decode(std::int64_t start, int count, SampleBlock* block);

private:
    std::shared_ptr<const InputFile> file_;
    std::shared_ptr<const StreamIndex> index_;
    bool native_ = false;
    std::unique_ptr<PacketDecoder> decoder_;
    PacketPool pool_;
    PacketPtr packet_;
    std::vector<std::uint8_t> raw_;
    const std::uint8_t* plane_ = nullptr;
};

/// Whether the stored bytes of a codec have the format of its view, so that reading is copying.
bool StoresView(AVCodecID codec);

}  // namespace zrh::media::detail
