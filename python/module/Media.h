// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/align/Alignment.h"
#include "host/media/CacheInventory.h"
#include "host/media/MediaEntries.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Progress.h"
#include "host/waveform/WaveformOptions.h"
#include "python/module/Session.h"
#include "sonrel/media/SoundChoice.h"

/// Work on media files without the interpreter lock.
namespace orlo::python {

/// The sound of a media file.
struct MediaSound {
    std::string path;
    zrh::media::SoundChoice choice;
};

/// The conformed file of a sound.
struct ConformedSound {
    host::MediaEntry entry;
    host::FileResult result;
};

/// Media files and timelines to conform.
struct ConformRequest {
    std::vector<std::string> inputs;
    zrh::media::SoundChoice choice;
    int jobs = 1;
    bool force = false;
};

/// Finds or makes the conformed files of media files and timelines. A failure is a part of the
/// result.
/// @throws CommandError
std::vector<ConformedSound> Conform(const Session::Use& use, const host::GlobalOptions& options,
                                    const ConformRequest& request, host::Progress& progress);

/// A range of a sound at a rate.
struct ReadRange {
    int rate = 0;  ///< hertz
    std::string from;
    std::string to;  ///< both as of --from and --to
};

/// The samples of a media file, stereo.
/// @throws CommandError
std::vector<short> ReadSound(const Session::Use& use, const MediaSound& sound,
                             const ReadRange& range, host::Progress& progress);

/// The peaks of a sound.
struct Peaks {
    int rate = 0;  ///< hertz
    int channels = 0;
    int samplesPerPoint = 0;
    std::vector<signed char> peaks;  ///< minimum and maximum of each channel of each point
    std::vector<unsigned char> rms;  ///< of all channels of each point
};

/// @throws CommandError
Peaks ReadPeaks(const Session::Use& use, const MediaSound& sound, int samplesPerPoint,
                host::Progress& progress);

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> bytes;  ///< red, green, blue and alpha of each pixel
};

/// Draws a waveform. The options contain everything except the names of files.
/// @throws CommandError
Picture DrawSound(const Session::Use& use, const MediaSound& sound,
                  const host::WaveformOptions& options, host::Progress& progress);

/// Two recordings of one event.
struct AlignmentTask {
    std::string first;
    std::string second;
    zrh::media::SoundChoice choice;
    int rate = 48000;
    double minCorrelation = 0.3;
};

struct AlignedPair {
    host::AlignmentResult result;
    int rate = 0;
    long long overlap = 0;  ///< sample frames
};

/// @throws CommandError
AlignedPair AlignFiles(const Session::Use& use, const AlignmentTask& task,
                       host::Progress& progress);

/// Writes a 16-bit stereo WAV file.
/// @param samples  2 * frames values
/// @throws JobError
void WriteWav(const std::string& path, const short* samples, long long frames, int rate);

}  // namespace orlo::python
