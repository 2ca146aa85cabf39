// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sonrel/base/Export.h"

namespace orlo::project {
class MediaAsset;
}

namespace orlo::sonrel {

struct PeakFileImpl;

/// A summary of one audio stream: for every 32 sample frames one RMS byte of all channels together
/// and, for each channel, a minimum and a maximum byte.
///
/// Create writes a peak file from a media asset. An object of the class reads a peak file, reduced
/// to any number of points of at least one block each.
///
/// Minimum and maximum are the sample value (full scale 1.0) times 127, RMS is times 255, both cut
/// toward zero. A block's minimum is never above 0 and its maximum never below 0. Samples of a
/// float stream beyond full scale wrap in the byte: 1.5 is stored as 190 and read as -66.
///
/// Threads: one at a time on one object. Objects are independent, also on one file, and Create may
/// run on any thread.
class SONREL_EXPORT PeakFile {
public:
    /// The result of a read.
    enum class Result : int {
        Ok = 0,               ///< the vector contains the points
        NotOpen = 1,          ///< no file is open; the vector is unchanged
        InvalidArgument = 2,  ///< the block range or the step is invalid; the vector is unchanged
        ReadFailed = 3,       ///< the file is too short or failed; the vector contains the points
                              ///< before
    };

    /// How Create reads the media. The file is the same to the byte.
    enum class CreateMode : int {
        Auto = 0,            ///< SingleThreaded below 30 seconds of sound, otherwise MultiThreaded
        SingleThreaded = 1,  ///< one pass on the calling thread
        MultiThreaded = 2,   ///< four tasks, each with its own reader; also any other value
    };

    static constexpr int SAMPLES_PER_BLOCK = 32;  ///< sample frames; the last block may have fewer
    static constexpr int MAX_CHANNELS = 16;       ///< of a stream
    static constexpr int HEADER_BYTES = 20;       ///< size of the header before the first block

    /// Results of Create other than 0.
    static constexpr int MEDIA_NOT_PREPARED = -1;  ///< nothing was written
    static constexpr int NO_AUDIO_STREAM = -2;  ///< none of the asset's index; nothing was written
    static constexpr int OUTPUT_NOT_OPENED = -11;           ///< nothing was written
    static constexpr int OUTPUT_NOT_POSITIONED = -12;       ///< the place for the blocks
    static constexpr int SECOND_READER_NOT_PREPARED = -21;  ///< for the second quarter
    static constexpr int THIRD_READER_NOT_PREPARED = -22;   ///< for the third quarter
    static constexpr int FOURTH_READER_NOT_PREPARED = -23;  ///< for the fourth quarter
    static constexpr int SECOND_QUARTER_NOT_WRITTEN = -31;  ///< of the blocks
    static constexpr int THIRD_QUARTER_NOT_WRITTEN = -32;   ///< of the blocks
    static constexpr int FOURTH_QUARTER_NOT_WRITTEN = -33;  ///< of the blocks
    /// The first samples cannot be read, a write failed, the stream has no or more than 16 channels
    /// or a sample size that is not a multiple of 8 bits, or a further reader cannot be opened.
    static constexpr int BLOCKS_NOT_MADE = -100;
    static constexpr int HEADER_NOT_POSITIONED = -201;      ///< after all blocks
    static constexpr int MAGIC_NOT_WRITTEN = -202;          ///< the first field of the header
    static constexpr int VERSION_NOT_WRITTEN = -203;        ///< the second field
    static constexpr int CHANNEL_COUNT_NOT_WRITTEN = -204;  ///< the third field
    static constexpr int BLOCK_COUNT_NOT_WRITTEN = -205;    ///< the last field

    PeakFile();
    /// Closes the file.
    ~PeakFile();
    PeakFile(const PeakFile&) = delete;
    PeakFile& operator=(const PeakFile&) = delete;

    /// Writes the peak file of an asset's audio stream, at the stream's own rate and channel count.
    ///
    /// Reads the whole stream and returns when the file is complete; it cannot be stopped. Media
    /// that cannot be read in the middle counts as silence there. On failure a partial file
    /// remains: it never opens as a peak file, and the caller deletes it.
    /// @param path  the file to write; its old content is lost. Only a regular file or a link to
    ///              one is written, and a new file is made where the path leads to nothing
    /// @return 0, or one of the codes above
    /// @throws zrh::media::ZRMediaException when the media cannot be opened; nothing was written
    static int Create(const std::shared_ptr<project::MediaAsset>& asset, const std::wstring& path,
                      CreateMode mode);

    /// Opens a file and reads its header. Only a regular file is opened, and not through a link,
    /// except for the name of an open descriptor in /proc/self/fd.
    ///
    /// The file's length is not compared with the block count: reading a short file fails. A file
    /// that opens but has no valid header leaves the object open with its former numbers. A file
    /// that is open already stays open until Close.
    /// @return false when the file does not exist, is not a peak file of version 1, its channel
    ///         count is not 1 to 16 or it has no blocks
    bool Open(const std::wstring& path);
    /// Closes the file; the three numbers keep their values.
    void Close();

    /// Channels of the stream, 1 to 16; 0 before a file was opened.
    int ChannelCount() const;
    /// The block count of the header; 0 before a file was opened. A count above 2147483647 is
    /// returned as a negative number.
    int BlockCount() const;
    /// 32 once a file was opened, 0 before. The last block may cover fewer frames.
    int SamplesPerBlock() const;

    /// Reads the peaks of a range of blocks.
    ///
    /// Points end at multiples of the step only: the last point may include blocks at and after
    /// @p endBlock, up to BlockCount().
    /// @param firstBlock      0 or above
    /// @param endBlock        exclusive; at most BlockCount(). Equal to @p firstBlock gives no
    ///                        points
    /// @param blocksPerPoint  1.0 or above, fractions and infinity included
    /// @param peaks           receives for point p and channel c the minimum at
    ///                        (p * ChannelCount() + c) * 2 and the maximum after it
    /// @throws std::length_error when @p endBlock is less than @p firstBlock by half a step divided
    ///         by the channel count, or more
    Result GetChannelPeaks(int firstBlock, int endBlock, double blocksPerPoint,
                           std::vector<signed char>& peaks);

    /// Reads the RMS of a range of blocks, all channels together. Like GetChannelPeaks, except that
    /// it throws only for an end before the first block by half a step or more. A cut block at the
    /// end of the file counts if its RMS byte exists.
    /// @param amplitudes  receives one byte for each point: the root of the mean of the squared RMS
    ///                    of its blocks, cut toward zero: three blocks of 19 result in 18
    Result GetRMSAmplitude(int firstBlock, int endBlock, double blocksPerPoint,
                           std::vector<unsigned char>& amplitudes);

private:
    std::unique_ptr<PeakFileImpl> impl_;
};

}  // namespace orlo::sonrel
