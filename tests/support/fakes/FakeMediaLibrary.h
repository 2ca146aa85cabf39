// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "sonrel/media.h"

namespace sonrel_tests {

/// The checksum of every conformed file.
constexpr std::uint64_t FAKE_CHECKSUM = 0xFEDCBA9876543210;

/// The properties of every stream of every file.
struct FakeFormat {
    int rate = 48000;
    int channels = 2;
    int bits = 16;
    zrh::media::ZRSampleDataType dataType = zrh::media::ZRSampleDataType::Integer;
    long long frames = 48000;
};

/// Reads as ZRAbstractAudioStream::GetSamples does.
using FakeRead =
    std::function<int(long long start, int count, void* buffer, int bufferBytes, int* samplesRead)>;

/// The media library of a test program: the bodies of the two free functions and of
/// `ZRAudioConverter::Convert`, with the results that the test sets.
///
/// Set it up before the code under test runs; its calls may come from many threads.
class FakeMediaLibrary {
public:
    static FakeMediaLibrary& Instance();

    /// Every file opens, is ready and has one audio stream of a silent second; a conversion writes
    /// the four bytes "done" and succeeds. No calls.
    void Reset();

    /// The results of ZRMediaFileCreate, Prepare and Convert. A function may throw.
    std::function<int(const std::wstring& path)> create;
    std::function<int()> prepare;
    std::function<int(const std::wstring& outputPath)> convert;
    /// StreamType() of each stream of a file.
    std::vector<int> streamTypes;
    FakeFormat format;
    /// The samples of the streams; zeros if empty. Called from the threads of the code under test.
    FakeRead read;

    /// Every call so far, in order: "Create PATH", "SetReadOption 1", "Prepare", "Streams",
    /// "Convert stream 2 at 48000", "Release"; "Release, stream held" when the caller still holds
    /// one of the file's streams.
    std::vector<std::string> Calls() const;
    int CallCount(const std::string& operation) const;
    /// Files that were created and not released.
    int OpenFiles() const;

    void Note(const std::string& call);
    void FileOpened(int change);

private:
    FakeMediaLibrary() { Reset(); }

    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
    int openFiles_ = 0;
};

/// Writes a file as a conversion would: some bytes under the final name.
void WriteConverted(const std::wstring& outputPath);

}  // namespace sonrel_tests
