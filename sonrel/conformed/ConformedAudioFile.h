// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/base/Export.h"

namespace orlo::project {

struct ConformedAudioFileImpl;

/// One open conformed file: stereo signed 16-bit samples at one rate.
///
/// Threads: GetSamples may run on several threads at once. No other operation may run at the same
/// time as any operation on the same object.
class SONREL_EXPORT ConformedAudioFile {
public:
    /// A closed file.
    ConformedAudioFile();
    ~ConformedAudioFile();
    ConformedAudioFile(ConformedAudioFile&& other) noexcept;             ///< takes over the file
    ConformedAudioFile& operator=(ConformedAudioFile&& other) noexcept;  ///< takes over the file
    ConformedAudioFile(const ConformedAudioFile&) = delete;
    ConformedAudioFile& operator=(const ConformedAudioFile&) = delete;

    /// Opens a conformed file. Refuses a file that is not a conformed file, a file whose length
    /// differs from its header, and a link. An open file is closed first.
    ///
    /// A path that was closed a moment ago and whose file is unchanged may open without a file
    /// descriptor: the next frames are in memory. Whether the file is unchanged is examined once in
    /// a tick of the clock of file times, which is 1 to 10 ms long. If the file is deleted while it
    /// is open in this way, reads beyond those frames return 2, which is silence in a mix, and
    /// another file under the same name is not read instead. A file that is opened for the first
    /// time always has a descriptor and can be read to its end after it was deleted.
    /// @return whether the file is open
    bool Open(std::wstring const& path);
    /// The path given to Open; empty when closed.
    std::wstring const& FilePath() const;
    /// Sample frames in the file; 0 when closed.
    long long SampleCount() const;
    /// Hertz; 0 when closed.
    int SampleRate() const;

    /// Reads sample frames, fewer at the end of the file. Takes no lock.
    /// @param start        first sample frame
    /// @param count        sample frames wanted
    /// @param buffer       receives 4 bytes to a sample frame
    /// @param bufferBytes  size of @p buffer, which is never exceeded
    /// @param samplesRead  receives the sample frames delivered; 0 on an error
    /// @return 0; 1 closed; 2 the file cannot be read there; 7 a negative start or count; 12
    ///         count * 4 is above @p bufferBytes
    int GetSamples(long long start, int count, unsigned char* buffer, int bufferBytes,
                   int* samplesRead) const;

private:
    std::unique_ptr<ConformedAudioFileImpl> impl_;  ///< null when closed
};

}  // namespace orlo::project
