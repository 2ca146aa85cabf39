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
/// Create writes one from a media asset; an object of the class reads one, reduced to any number of
/// points of at least one block each.
///
/// Minimum and maximum are the sample value (full scale 1.0) times 127, RMS is times 255, both cut
/// toward zero. A block's minimum is never above 0 and its maximum never below. Samples of a float
/// stream beyond full scale wrap in the byte: 1.5 gives a maximum of 190, which reads as -66.
///
/// Threads: one at a time on one object. Objects are independent, also on one file, and Create may
/// run on any thread.
class SONREL_EXPORT PeakFile {
public:
    /// The outcome of reading.
    enum class Result : int {
        Ok = 0,               ///< the vector holds the answer
        NotOpen = 1,          ///< no file is open; the vector is untouched
        InvalidArgument = 2,  ///< the block range or the step was refused; the vector is untouched
        ReadFailed = 3,       ///< the file is too short or failed; the vector holds the points
                              ///< that were finished before
    };

    /// How Create reads the media. The file is the same to the byte.
    enum class CreateMode : int {
        Auto = 0,            ///< SingleThreaded below 30 seconds of sound, otherwise MultiThreaded
        SingleThreaded = 1,  ///< one pass on the calling thread
        MultiThreaded = 2,   ///< four tasks, each with a reader of its own; so do all other values
    };

    /// Results of Create other than 0.
    static constexpr int MEDIA_NOT_PREPARED = -1;  ///< nothing was written
    static constexpr int NO_AUDIO_STREAM = -2;  ///< none of the asset's index; nothing was written
    static constexpr int OUTPUT_NOT_OPENED = -11;  ///< nothing was written
    static constexpr int OUTPUT_NOT_POSITIONED = -12;
    static constexpr int SECOND_READER_NOT_PREPARED = -21;
    static constexpr int THIRD_READER_NOT_PREPARED = -22;
    static constexpr int FOURTH_READER_NOT_PREPARED = -23;
    static constexpr int SECOND_QUARTER_NOT_WRITTEN = -31;
    static constexpr int THIRD_QUARTER_NOT_WRITTEN = -32;
    static constexpr int FOURTH_QUARTER_NOT_WRITTEN = -33;
    /// The first samples cannot be read, a write failed, the stream has no or more than 16 channels
    /// or a sample size that is not a multiple of 8 bits, or a further reader cannot be opened.
    static constexpr int BLOCKS_NOT_MADE = -100;
    static constexpr int HEADER_NOT_POSITIONED = -201;
    static constexpr int MAGIC_NOT_WRITTEN = -202;
    static constexpr int VERSION_NOT_WRITTEN = -203;
    static constexpr int CHANNEL_COUNT_NOT_WRITTEN = -204;
    static constexpr int BLOCK_COUNT_NOT_WRITTEN = -205;

    PeakFile();
    /// Closes the file.
    ~PeakFile();
    PeakFile(const PeakFile&) = delete;
    PeakFile& operator=(const PeakFile&) = delete;

    /// Writes the peak file of an asset's audio stream, at the stream's own rate and channel count.
    ///
    /// Reads the whole stream and returns when the file is complete; there is no way to stop it.
    /// Media that cannot be read in the middle counts as silence there. On failure the file stays
    /// behind half made: it never opens as a peak file, and to delete it is the caller's part.
    /// @param path  the file to write; its old content is lost. Only a regular file or a link to
    ///              one is written, and a new file is made where the path leads to nothing
    /// @return 0, or one of the codes above
    /// @throws zrh::media::ZRMediaException when the media cannot be opened; nothing was written
    static int Create(const std::shared_ptr<project::MediaAsset>& asset, const std::wstring& path,
                      CreateMode mode);

    /// Opens a file and reads its header. Only a regular file is opened, and not through a link,
    /// except for the name of an open descriptor in /proc/self/fd.
    ///
    /// The file's length is not compared with the block count: a short file shows itself when it is
    /// read. A file that opens but has no valid header leaves the object open with its former
    /// numbers. A file that is open already stays open until Close.
    /// @return false when there is no such file, it is no peak file of version 1, its channel count
    ///         is not 1 to 16 or it has no blocks
    bool Open(const std::wstring& path);
    /// Closes the file; the three numbers keep their values.
    void Close();

    /// Channels of the stream, 1 to 16; 0 before a file was opened.
    int ChannelCount() const;
    /// Blocks in the file, as its header says; 0 before a file was opened. A header beyond
    /// 2147483647 reads as a negative number.
    int BlockCount() const;
    /// 32 once a file was opened, 0 before. The last block may cover fewer frames.
    int SamplesPerBlock() const;

    /// Reads the peaks of a range of blocks.
    ///
    /// Points are cut at the step alone: the last one may take in blocks at and behind @p endBlock,
    /// up to BlockCount().
    /// @param firstBlock      0 or above
    /// @param endBlock        exclusive; at most BlockCount(). Equal to @p firstBlock gives no
    ///                        points
    /// @param blocksPerPoint  1.0 or above, fractions and infinity included
    /// @param peaks           receives for point p and channel c the minimum at
    ///                        (p * ChannelCount() + c) * 2 and the maximum behind it
    /// @throws std::length_error when @p endBlock is less than @p firstBlock by half a step divided
    ///         by the channel count, or more
    Result GetChannelPeaks(int firstBlock, int endBlock, double blocksPerPoint,
                           std::vector<signed char>& peaks);

    /// Reads the RMS of a range of blocks, all channels together; as GetChannelPeaks, but that only
    /// an end before the first block by half a step or more throws. Of a block that the file cuts
    /// off, the RMS counts as long as its own byte is there.
    /// @param amplitudes  receives one byte a point: the root of the mean of the squared RMS of its
    ///                    blocks, cut toward zero, so that three blocks of 19 give 18
    Result GetRMSAmplitude(int firstBlock, int endBlock, double blocksPerPoint,
                           std::vector<unsigned char>& amplitudes);

private:
    std::unique_ptr<PeakFileImpl> impl_;
};

}  // namespace orlo::sonrel
