// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "sonrel/media/input/Ffmpeg.h"
#include "sonrel/media/input/InputFile.h"

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

    /// Leaves out every stream but those for which @p wanted says yes.
    template <typename Wanted>
    void SelectStreams(Wanted wanted) {
        for (unsigned int i = 0; i < context_->nb_streams; ++i) {
            const bool isLeftOut = !wanted(static_cast<int>(i));
            leftOut_[i] = isLeftOut;
            context_->streams[i]->discard =
                isLeftOut && !readsAllPackets_ ? AVDISCARD_ALL : AVDISCARD_DEFAULT;
        }
    }

    /// Reads the next packet of the selected streams that has bytes in it.
    /// @return true with a packet; false at the end, when the container ends in damage, and after
    ///         a failure
    bool Read(AVPacket* packet);

    /// Why an end that was met is not the file's end, or None: ReadFailed when the disk failed,
    /// Cancelled when the host interrupted, ProbeLimit when too many bytes in a row gave nothing.
    MediaError Failure() const;

private:
    Demuxer() = default;
    static int ReadBytes(void* self, std::uint8_t* buffer, int size);
    static std::int64_t SeekBytes(void* self, std::int64_t offset, int whence);
    static int IsStopped(void* self);
    MediaError OpenContext();
    MediaError CheckIndex(const AVInputFormat& format) const;
    MediaError OpenFormat(const AVInputFormat& format);
    MediaError FindStreams(const AVInputFormat& format);
    void AllowInARow(std::int64_t bytes);
    std::int64_t BytesToNextPacket() const;
    bool IsLeftOut(const AVPacket& packet) const;
    /// @param bytes  how many are asked for at once
    bool MayRead(std::int64_t bytes = 0);
    bool ReadsEveryStream() const;

    std::shared_ptr<const InputFile> file_;
    std::int64_t position_ = 0;
    bool diskFailed_ = false;
    /// Cancelled, ProbeLimit, or None while reading may continue.
    MediaError stop_ = MediaError::None;
    /// Bytes that were read without a seek, and how many may be.
    std::int64_t inARow_ = 0;
    std::int64_t allowedInARow_ = INT64_MAX;
    /// The format gathers a packet of any length before it leaves it out: its packets are left out
    /// here instead, so that the length of each can be limited.
    bool readsAllPackets_ = false;
    std::map<unsigned int, bool> leftOut_;  ///< by index; only of selected streams
    AVIOContext* io_ = nullptr;
    AVFormatContext* context_ = nullptr;
};

}  // namespace zrh::media::detail
