// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>

#include "sonrel/media/detail/StreamReader.h"
#include "sonrel/media/index/PcmBytes.h"

namespace zrh::media::detail {
namespace {

/// Reads uncompressed sound by its place in the file, a window at a time.
class PcmReader : public StreamReader {
public:
    PcmReader(std::shared_ptr<const InputFile> file, std::shared_ptr<const StreamIndex> map)
        : map_(map),
          bytes_(std::move(file), map),
          converter_(map->format, map->view),
          bytesPerFrame_(static_cast<std::size_t>(map->view.BytesPerSample()) *
                         static_cast<std::size_t>(map->format.channels)),
          windowFrames_(std::max(static_cast<int>(WINDOW_BYTES / bytesPerFrame_), 1)) {}

    int Read(std::int64_t start, int count, std::uint8_t* buffer) override {
        const bool copies = StoresView(map_->parameters->codec_id) &&
                            map_->pcm->bytesPerFrame == static_cast<int>(bytesPerFrame_);
        if (copies && count >= windowFrames_) {
            return std::max(bytes_.ReadRaw(start, count, buffer), 0);
        }
        int done = 0;
        while (done < count) {
            const std::int64_t frame = start + done;
            if ((frame < windowStart_ || frame >= windowEnd_) && !LoadWindow(frame, copies)) break;
            const std::int64_t taken = std::min<std::int64_t>(count - done, windowEnd_ - frame);
            std::memcpy(
                buffer + static_cast<std::size_t>(done) * bytesPerFrame_,
                window_.data() + static_cast<std::size_t>(frame - windowStart_) * bytesPerFrame_,
                static_cast<std::size_t>(taken) * bytesPerFrame_);
            done += static_cast<int>(taken);
        }
        return done;
    }

private:
    static constexpr std::size_t WINDOW_BYTES = 128 * 1024;

    bool LoadWindow(std::int64_t frame, bool copies) {
        const int count =
            static_cast<int>(std::min<std::int64_t>(windowFrames_, map_->totalFrames - frame));
        windowStart_ = windowEnd_ = frame;
        if (copies) {
            window_.resize(static_cast<std::size_t>(count) * bytesPerFrame_);
            windowEnd_ += std::max(bytes_.ReadRaw(frame, count, window_.data()), 0);
            return windowEnd_ > windowStart_;
        }
        SampleBlock block;
        if (!bytes_.Decode(frame, count, &block)) return false;
        window_.clear();
        converter_.Append(block, &window_);
        windowEnd_ += block.frames;
        return true;
    }

    std::shared_ptr<const StreamIndex> map_;
    PcmBytes bytes_;
    ViewConverter converter_;
    std::size_t bytesPerFrame_;
    int windowFrames_;
    std::vector<std::uint8_t> window_;
    std::int64_t windowStart_ = 0;
    std::int64_t windowEnd_ = 0;
};

}  // namespace

std::unique_ptr<StreamReader> NewPcmReader(std::shared_ptr<const InputFile> file,
                                           std::shared_ptr<const StreamIndex> map) {
    return std::make_unique<PcmReader>(std::move(file), std::move(map));
}

}  // namespace zrh::media::detail
