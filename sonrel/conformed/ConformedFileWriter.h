// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "sonrel/base/StereoFrame.h"
#include "sonrel/base/WavHeader.h"
#include "sonrel/files/Checksum.h"

namespace orlo::project {

/// Writes one conformed file: the header of WavHeader.h and the samples after it, up to the end of
/// the file.
///
/// The header is written last. Until then its bytes are 0, and no reader accepts the file.
///
/// Threads: one at a time.
class ConformedFileWriter {
public:
    ConformedFileWriter() = default;
    /// Closes the file. A file that was not finished becomes empty, and its caller deletes it.
    ~ConformedFileWriter();
    ConformedFileWriter(const ConformedFileWriter&) = delete;
    ConformedFileWriter& operator=(const ConformedFileWriter&) = delete;

    enum class Result {
        Done,
        Exists,        ///< the path exists already, even as a broken link
        TooManyFiles,  ///< the process has no descriptor left
        Failed         ///< the folder or the disk could not be written
    };

    /// Creates the file. An existing file is never changed, and no link is followed.
    /// @param path       the path of the file, in UTF-8
    /// @param rate       hertz
    /// @param maxFrames  the maximum number of frames, which decides between RIFF and RF64
    Result Open(const std::string& path, int rate, std::int64_t maxFrames);

    /// Bytes of the file up to the next sample.
    std::int64_t Position() const { return headerBytes_ + frames_ * zrtl::FRAME_BYTES; }

    /// Appends interleaved stereo frames. Every 8 MiB the disk starts to write them, so that Finish
    /// waits for the last of them only.
    /// @return false when they could not all be written
    bool Write(const std::int16_t* samples, std::int64_t frames);

    /// Writes the header, and syncs the file and its entry in the folder.
    /// @return Done when the file is complete and would survive a power cut
    Result Finish();

    /// The checksum of the finished file.
    std::uint64_t Checksum() const { return checksum_.Value(); }

private:
    static Result ResultOf(int error);
    bool StartSyncIfDue();

    int descriptor_ = -1;
    std::string path_;
    int rate_ = 0;
    zrtl::WavFormat format_ = zrtl::WavFormat::Wav;
    std::int64_t headerBytes_ = 0;
    std::int64_t frames_ = 0;
    std::int64_t syncStarted_ = 0;  // bytes of the file
    files::Checksum checksum_;      // of the samples, then of the header
};

}  // namespace orlo::project
