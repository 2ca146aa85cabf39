// SPDX-License-Identifier: MIT
#include <algorithm>

#include "sonrel/media/detail/SampleWindow.h"
#include "sonrel/media/detail/StreamReader.h"
#include "sonrel/media/index/PcmBytes.h"

namespace zrh::media::detail {
namespace {

/// Reads uncompressed sound by its position in the file.
class PcmReader : public StreamReader {
public:
    PcmReader(std::shared_ptr<const InputFile> file, std::shared_ptr<const StreamIndex> index)
        : index_(index),
          bytes_(std::move(file), index),
          converter_(index->format, index->view),
          window_{index->ViewFrameBytes(), {}, {}},
          windowFrames_(std::max(static_cast<int>(WINDOW_BYTES / window_.bytesPerFrame), 1)),
          isStoredAsView_(StoresView(index->parameters->codec_id) &&
                          index->pcm->bytesPerFrame == static_cast<int>(window_.bytesPerFrame)) {}

    int Read(std::int64_t start, int count, std::uint8_t* buffer) override {
        if (isStoredAsView_ && count >= windowFrames_) {
            return std::max(bytes_.ReadRaw(start, count, buffer), 0);
        }
        return window_.Read(start, count, buffer,
                            [this](std::int64_t frame) { return LoadWindow(frame); });
    }

private:
    static constexpr std::size_t WINDOW_BYTES = 128 * 1024;

    bool LoadWindow(std::int64_t frame) {
        const int count =
            static_cast<int>(std::min<std::int64_t>(windowFrames_, index_->totalFrames - frame));
        window_.frames = {frame, frame};
        if (isStoredAsView_) {
            window_.bytes.resize(static_cast<std::size_t>(count) * window_.bytesPerFrame);
            window_.frames.end += std::max(bytes_.ReadRaw(frame, count, window_.bytes.data()), 0);
            return !window_.frames.IsEmpty();
        }
        SampleBlock block;
        if (!bytes_.Decode(frame, count, &block)) return false;
        window_.bytes.clear();
        converter_.Append(block, &window_.bytes);
        window_.frames.end += block.frames;
        return true;
    }

    std::shared_ptr<const StreamIndex> index_;
    PcmBytes bytes_;
    ViewConverter converter_;
    SampleWindow window_;
    int windowFrames_;
    /// The bytes in the file have the format of the view.
    bool isStoredAsView_;
};

}  // namespace

std::unique_ptr<StreamReader> NewPcmReader(std::shared_ptr<const InputFile> file,
                                           std::shared_ptr<const StreamIndex> index) {
    return std::make_unique<PcmReader>(std::move(file), std::move(index));
}

}  // namespace zrh::media::detail
