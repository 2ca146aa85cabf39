// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sonrel/media/index/FrameCounter.h"
#include "sonrel/media/index/PacketIndex.h"
#include "sonrel/media/index/SilenceCounter.h"
#include "sonrel/media/input/MediaErrors.h"
#include "sonrel/media/input/SampleFormat.h"

namespace zrh::media::detail {

/// Contiguous uncompressed samples in the file.
struct PcmLayout {
    std::int64_t offset = 0;
    int bytesPerFrame = 0;
};

/// Everything that a reader of one audio stream needs. It does not change after it is built.
struct StreamIndex {
    /// Why the stream cannot be read, or None.
    MediaError error = MediaError::Undecodable;
    /// The reason with its numbers, as a clause; empty where the error is sufficient.
    std::string reason;
    int streamIndex = 0;
    std::shared_ptr<const AVCodecParameters> parameters;
    AVRational timeBase = {1, 1};
    CodecTraits traits;
    DecodedFormat format;
    ViewFormat view;
    /// Frames of silence before the first sample.
    std::int64_t leadFrames = 0;
    /// Frames of silence for packets that the indexer could not decode.
    std::int64_t silentFrames = 0;
    /// Length of the stream in frames, including leadFrames.
    std::int64_t totalFrames = 0;
    std::optional<PcmLayout> pcm;
    PacketIndex packets;
    /// Shared by all readers of the stream: the only part that changes after the index is built.
    std::shared_ptr<SilenceCounter> silence = std::make_shared<SilenceCounter>();

    /// Bytes of a frame in the form of the view.
    std::size_t ViewFrameBytes() const {
        return static_cast<std::size_t>(view.BytesPerSample()) *
               static_cast<std::size_t>(format.channels);
    }
};

/// The audio streams of a file, in file order.
struct FileIndex {
    std::vector<std::shared_ptr<const StreamIndex>> streams;
    /// Why no stream can be read, with its numbers; empty where the error is sufficient.
    std::string reason;

    /// The index of a stream by its number among all streams of the file; null for none.
    std::shared_ptr<const StreamIndex> Find(int streamIndex) const {
        for (const auto& stream : streams) {
            if (stream->streamIndex == streamIndex) return stream;
        }
        return nullptr;
    }
};

}  // namespace zrh::media::detail
