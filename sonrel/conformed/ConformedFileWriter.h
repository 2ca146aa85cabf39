// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "sonrel/files/Checksum.h"

struct sf_private_tag;

namespace orlo::project {

/// Writes one conformed file: a RIFF/WAVE file of stereo samples of 16 bits.
///
/// The file has a header of 44 bytes (only the chunks "fmt " of 16 bytes and "data"), and the
/// samples follow up to the end of the file. A file of more than 4 GiB is RF64: a "ds64" chunk
/// comes first, and the samples are in the "data" chunk.
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
        Exists,  ///< the path exists already, even as a broken link
        Failed   ///< the folder or the disk could not be written
    };

    /// Creates the file. An existing file is never changed, and no link is followed.
    /// @param path       the path of the file, in UTF-8
    /// @param rate       hertz
    /// @param maxFrames  the maximum number of frames, which decides between RIFF and RF64
    Result Open(const std::string& path, int rate, std::int64_t maxFrames);

    /// Appends interleaved stereo frames.
    /// @return false when they could not all be written
    bool Write(const std::int16_t* samples, std::int64_t frames);

    /// Completes the header and writes the file and its entry in the folder to the disk.
    /// @return true when the file is complete and would survive a power cut
    bool Finish();

    /// The checksum of the finished file.
    std::uint64_t Checksum() const { return checksum_.Value(); }

private:
    bool HeaderIsWhole() const;
    bool AddHeader();

    int descriptor_ = -1;
    sf_private_tag* sound_ = nullptr;
    std::string path_;
    std::int64_t frames_ = 0;
    bool isLarge_ = false;
    files::Checksum checksum_;  // of the samples, then of the header
};

}  // namespace orlo::project
