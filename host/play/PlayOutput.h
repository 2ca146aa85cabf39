// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/output/SoundWriter.h"
#include "sonrel/playback/VirtualOutput.h"

namespace orlo::host {

/// A file that receives the played samples, in the format of its extension: a sound file, or raw
/// samples. It appears under its name when it is complete.
class PlayFile {
public:
    /// The extensions that a file may have.
    static std::vector<std::string_view> Extensions();

    /// @param frames  maximum number of frames
    /// @throws JobError when the file cannot be created or would not fit on the disk
    PlayFile(const std::string& path, OutputGuard& guard, int rate, long long frames);

    /// Appends frames. Output thread only.
    /// @return false on failure; Finish then throws the reason
    bool Write(const short* frames, int count);

    /// Completes the file and renames it to its name. @throws JobError
    void Finish();

private:
    std::unique_ptr<SoundWriter> writer_;
    std::exception_ptr failure_;
};

/// The output of a playback: the sound device, a null output at the speed of a device, or a file,
/// written as fast as the program steps. Applies to the playback engines that are created during
/// its lifetime.
class PlayOutput {
public:
    static constexpr const char* DEVICE = "sdl";
    static constexpr const char* NULL_OUTPUT = "null";

    /// The highest frame rate of the engine at which its queue bridges a busy machine: 49 frames
    /// last at least half a second and eight buffers of the sound device.
    /// @param bufferMs  buffer of the sound device; 0 is the library's default
    static double MaxFrameRate(int rate, int bufferMs);

    /// Whether --output names a file.
    static bool IsFileName(const std::string& output);

    /// @param output    value of --output
    /// @param frames    maximum number of frames of a file
    /// @param bufferMs  buffer of the sound device; 0 is the library's default
    /// @throws JobError when the file cannot be created
    PlayOutput(const std::string& output, OutputGuard& guard, int rate, long long frames,
               int bufferMs);
    ~PlayOutput();
    PlayOutput(const PlayOutput&) = delete;
    PlayOutput& operator=(const PlayOutput&) = delete;

    /// Whether the output is the sound device.
    bool IsDevice() const { return virtual_ == nullptr; }
    /// Whether playback advances only by Step.
    bool IsStepped() const { return file_ != nullptr; }
    /// Plays one buffer to its end. Returns after a time-out when no buffer is queued.
    void Step();
    /// Number of frames played; 0 for the device, which does not report it.
    long long FramesTaken() const;
    /// Completes the file, if the output is a file. @throws JobError
    void Finish();

private:
    std::unique_ptr<PlayFile> file_;
    std::shared_ptr<sonrel::VirtualOutput> virtual_;
};

}  // namespace orlo::host
