// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/standin/media/detail/Ffmpeg.h"
#include "sonrel/standin/media/detail/InputFile.h"

namespace zrh::media::detail {

/// A container being read through FFmpeg, which sees the one opened file and can reach no other:
/// it reads through our descriptor, and every further file that a format may ask for is refused.
/// Playlists, scripts, still images and devices are not opened at all.
///
/// Threads: one at a time.
class Demuxer {
public:
    /// Opens the container and finds its streams.
    static MediaError Open(std::shared_ptr<const InputFile> file,
                           std::unique_ptr<Demuxer>* demuxer);
    ~Demuxer();
    Demuxer(const Demuxer&) = delete;
    Demuxer& operator=(const Demuxer&) = delete;

    AVFormatContext* Context() const { return context_; }
    AVStream* Stream(int index) const { return context_->streams[index]; }

    /// Lets the container leave out every stream but those for which @p wanted says yes.
    template <typename Wanted>
    void SelectStreams(Wanted wanted) {
        for (unsigned int i = 0; i < context_->nb_streams; ++i) {
            context_->streams[i]->discard =
                wanted(static_cast<int>(i)) ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
        }
    }

    /// Reads the next packet of the selected streams that has bytes in it.
    /// @return true with a packet; false at the end, or when the container ends in damage
    bool Read(AVPacket* packet);

    /// The disk failed at some point, so that an end that was met is not the file's end.
    bool DiskFailed() const { return diskFailed_; }

private:
    Demuxer() = default;
    static int ReadBytes(void* self, std::uint8_t* buffer, int size);
    static std::int64_t SeekBytes(void* self, std::int64_t offset, int whence);
    MediaError OpenContext();

    std::shared_ptr<const InputFile> file_;
    std::int64_t position_ = 0;
    bool diskFailed_ = false;
    AVIOContext* io_ = nullptr;
    AVFormatContext* context_ = nullptr;
};

}  // namespace zrh::media::detail
