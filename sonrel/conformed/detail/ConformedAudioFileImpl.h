// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "sonrel/conformed/detail/ConformedFileLayout.h"
#include "sonrel/files/FileIdentity.h"

namespace orlo::project {

/// Frames of a file that were read in advance.
class ReadAhead {
public:
    /// Reads @p frames from frame @p start on. After a failure there are none.
    /// @param firstByte  of frame @p start in the file
    void Fill(int descriptor, long long start, long long frames, long long firstByte);

    /// Drops the frames and their memory.
    void Drop() { *this = {}; }

    /// Whether all of these frames were read in advance.
    bool Holds(long long first, long long count) const;

    /// Copies frames if all of them were read in advance.
    /// @return false, and nothing is copied, when one of them was not
    bool Copy(long long first, long long count, unsigned char* buffer) const;

private:
    long long start_ = 0;
    long long frames_ = 0;
    long long room_ = 0;  ///< frames for which there is memory
    std::unique_ptr<unsigned char[]> bytes_;
};

/// An open conformed file, and the memory of a closed one.
struct ConformedAudioFileImpl {
    std::wstring path;
    std::string name;  ///< the path in UTF-8
    files::FileIdentity identity;
    bool isSettled = false;        ///< when the identity was taken
    std::int64_t unchangedAt = 0;  ///< tick in which the path was last seen to lead to the identity
    ConformedFileLayout layout;
    ReadAhead ahead;  ///< never changed while the file is open: several threads may read
    /// The end of the last read and its frames: the next read probably continues there.
    std::atomic<long long> nextFrame{0};
    std::atomic<long long> lastCount{0};
    /// A run is a series of reads of which each begins at the end of the one before. The start of
    /// the run of the last read, and the frames of the run before it; 0 without one.
    std::atomic<long long> runStart{0};
    std::atomic<long long> previousRun{0};
    std::atomic<int> descriptor{-1};  ///< -1 until a read needs it, and while the file is closed

    ConformedAudioFileImpl() = default;
    ConformedAudioFileImpl(const ConformedAudioFileImpl&) = delete;
    ConformedAudioFileImpl& operator=(const ConformedAudioFileImpl&) = delete;
    ~ConformedAudioFileImpl() { CloseDescriptor(); }

    /// Whether all frames of the next read, if it continues from the last one, were read in
    /// advance. False when nothing was read yet and at the end of the file.
    bool HoldsNextRead() const;

    /// Threads: any number at once. The numbers may then belong to different reads, which changes
    /// the reads in advance, but no sample.
    void NoteRead(long long start, long long frames);

    /// The descriptor, which is opened if necessary; -1 when the path no longer leads to the file.
    /// Threads: any number at once.
    int Descriptor();
    void CloseDescriptor();
};

}  // namespace orlo::project
