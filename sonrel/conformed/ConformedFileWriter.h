// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include "sonrel/files/Checksum.h"

struct sf_private_tag;

namespace orlo::project {

/// Writes one conformed file: a RIFF/WAVE file of stereo samples of 16 bits.
///
/// The file has a 44-byte header (the chunks "fmt " of 16 bytes and "data", nothing else) and the
/// samples behind it, up to the file's end. A file of more than 4 GiB is RF64: a "ds64" chunk comes
/// first, and the samples begin where the "data" chunk says.
///
/// Threads: one at a time.
class ConformedFileWriter {
public:
    ConformedFileWriter() = default;
    /// Closes the file. One that was not finished is left empty, for its maker to delete.
    ~ConformedFileWriter();
    ConformedFileWriter(const ConformedFileWriter&) = delete;
    ConformedFileWriter& operator=(const ConformedFileWriter&) = delete;

    enum class Result {
        Done,
        Exists,  ///< there is something at the path already, be it a link to nothing
        Failed   ///< the folder, the disk or the writing failed
    };

    /// Makes the file. What exists at the path is never touched, and no link is followed.
    /// @param path           where to make it, in UTF-8
    /// @param rate           hertz
    /// @param largestFrames  no more frames than this will be written; it decides between RIFF and
    ///                       RF64
    Result Open(const std::string& path, int rate, std::int64_t largestFrames);

    /// Appends interleaved stereo frames.
    /// @return false when they could not all be written
    bool Write(const std::int16_t* samples, std::int64_t frames);

    /// Completes the header and brings the file, and its entry in the folder, to the disk.
    /// @return true when the file is whole and would survive a power cut now
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
