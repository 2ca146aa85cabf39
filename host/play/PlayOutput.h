// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/output/OutputFile.h"
#include "host/output/WavWriter.h"
#include "sonrel/playback/VirtualOutput.h"

namespace orlo::host {

/// A file that takes what is played: WAV by its name, otherwise the bare samples. It appears under
/// its name when it is whole.
class PlayFile {
public:
    /// @param frames  how many will come at most
    /// @throws JobError when the file cannot be made or would not fit on the disk
    PlayFile(const std::string& path, OutputGuard& guard, int rate, long long frames);

    /// Appends frames; on the output's thread.
    /// @return false when that failed; Finish tells why
    bool Write(const short* frames, int count);

    /// Ends the file and gives it its name. @throws JobError
    void Finish();

private:
    std::optional<WavWriter> wav_;
    std::optional<OutputFile> raw_;
    std::exception_ptr failure_;
};

/// Where a playback goes to: the sound device, nowhere at the pace of a device, or into a file as
/// fast as the program steps. Set for the playback engines that are made while it lives.
class PlayOutput {
public:
    static constexpr const char* DEVICE = "sdl";
    static constexpr const char* NOWHERE = "null";

    /// Whether --output names a file.
    static bool IsFileName(const std::string& output);

    /// @param output  of --output
    /// @param frames    how many a file will take at most
    /// @param bufferMs  of the sound device; 0 is the library's default
    /// @throws JobError when the file cannot be made
    PlayOutput(const std::string& output, OutputGuard& guard, int rate, long long frames,
               int bufferMs);
    ~PlayOutput();
    PlayOutput(const PlayOutput&) = delete;
    PlayOutput& operator=(const PlayOutput&) = delete;

    /// Whether it is the sound device.
    bool IsDevice() const { return virtual_ == nullptr; }
    /// Whether nothing moves but by Step.
    bool IsStepped() const { return file_ != nullptr; }
    /// Plays one buffer to its end; returns without it when none comes for a while.
    void Step();
    /// Frames that were played; 0 for the device, which does not tell.
    long long FramesTaken() const;
    /// Ends the file, if there is one. @throws JobError
    void Finish();

private:
    std::unique_ptr<PlayFile> file_;
    std::shared_ptr<sonrel::VirtualOutput> virtual_;
};

}  // namespace orlo::host
