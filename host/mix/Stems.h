// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/media/ReadCheck.h"
#include "host/mix/MixRender.h"
#include "host/output/WavWriter.h"
#include "host/timeline/Positions.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/SampleConverter.h"
#include "sonrel/project/Project.h"

namespace orlo::host {

/// The files of the stems in a folder: "01-Voice.wav". Characters other than letters, digits, dash
/// and underscore become underscores; a track without a name is a "track".
std::vector<std::string> StemPaths(const std::string& folder,
                                   const std::vector<std::string>& trackNames);

/// Writes each track of a sequence to a file of its own, beside its mix.
///
/// A stem has its track's level, balance, effects and transitions and the master level; a track
/// that does not sound in the mix, because it is muted or another is solo, has a silent one. The
/// stems are mixed by an engine of their own, so that they take nothing from the mix's noise.
class Stems {
public:
    /// Makes the folder where it is missing, and the files without their names.
    /// @param span  what will be mixed
    /// @throws JobError
    Stems(const std::string& folder, std::vector<std::string> paths, OutputGuard& guard,
          const FrameGrid& grid, const zrtl::FrameRange& span);
    ~Stems();

    /// @param project  with the sequence that is mixed
    void Begin(const std::shared_ptr<project::Project>& project, sonrel::DitherType dither,
               unsigned int seed);
    /// Mixes the same stretch of every track.
    /// @throws JobError, also where media cannot be read
    void Render(long long position, int count);
    /// Writes what is still gathered. @throws JobError
    void Flush();
    /// Writes everything through to the disk. @throws JobError
    void Seal();
    /// Gives the files their names. @throws as OutputFile
    void Finish();

    const std::vector<std::string>& Paths() const { return paths_; }

private:
    struct Stem;

    FrameGrid grid_;
    std::vector<std::string> paths_;
    std::vector<std::unique_ptr<Stem>> stems_;
    std::shared_ptr<sonrel::Sonrel> engine_;
    std::optional<ReadCheck> reads_;  // of the engine
};

}  // namespace orlo::host
