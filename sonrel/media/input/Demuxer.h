// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "sonrel/media/input/Ffmpeg.h"
#include "sonrel/media/input/InputFile.h"

namespace zrh::media::detail {

/// Reads a container through FFmpeg, which has access to the opened file and to no other: it reads
/// through our descriptor, and every other file that a format requests is refused. Playlists,
/// scripts, still images and devices are not opened at all.
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

    /// Skips every stream for which @p wanted returns false.
    template <typename Wanted>
    void SelectStreams(Wanted wanted) {
        for (unsigned int i = 0; i < context_->nb_streams; ++i) {
            const bool isSkipped = !wanted(static_cast<int>(i));
            isSkipped_[i] = isSkipped;
            context_->streams[i]->discard =
                isSkipped && !readsAllPackets_ ? AVDISCARD_ALL : AVDISCARD_DEFAULT;
        }
    }

    /// Reads the next packet of the selected streams that is not empty.
    /// @return false at the end, when the rest of the container is damaged, and after a failure
    /// @throws std::bad_alloc without memory for the packet
    bool Read(AVPacket* packet);

    /// Why reading ended before the end of the file, or None: ReadFailed when the disk failed,
    /// Cancelled when the host interrupted, ProbeLimit when too many bytes in a row had no result.
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
    bool IsSkipped(const AVPacket& packet) const;
    /// @param bytes  size of the requested read
    bool MayRead(std::int64_t bytes = 0);
    bool ReadsEveryStream() const;

    std::shared_ptr<const InputFile> file_;
    std::int64_t position_ = 0;
    bool diskFailed_ = false;
    /// Cancelled, ProbeLimit, or None while reading may continue.
    MediaError stop_ = MediaError::None;
    /// Bytes read without a seek or a packet, and their limit.
    std::int64_t inARow_ = 0;
    std::int64_t allowedInARow_ = INT64_MAX;
    /// The format would collect a packet of any length before it skips the packet. Its packets are
    /// skipped here instead, so that the length of each can be limited.
    bool readsAllPackets_ = false;
    std::map<unsigned int, bool> isSkipped_;  ///< by stream index; empty before SelectStreams
    AVIOContext* io_ = nullptr;
    AVFormatContext* context_ = nullptr;
};

}  // namespace zrh::media::detail
