// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/mix/MixRender.h"
#include "host/output/WavWriter.h"
#include "host/timeline/Positions.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/SampleConverter.h"
#include "sonrel/project/Project.h"

namespace orlo::host {

/// The files of the stems in a folder: "01-Voice.wav". Characters other than letters, digits, dash
/// and underscore become underscores; an empty name becomes "track".
std::vector<std::string> StemPaths(const std::string& folder,
                                   const std::vector<std::string>& trackNames);

/// Writes each track of a sequence to a separate file while the sequence is mixed.
///
/// A stem has its track's level, balance, effects and transitions and the master level. The stem of
/// a track that is inaudible in the mix, because it is muted or another track is solo, is silent. A
/// separate engine mixes the stems, so that they do not change the dither noise of the mix.
class Stems {
public:
    /// Creates the folder if it is missing, and the files under temporary names.
    /// @param span  range that will be mixed
    /// @throws JobError
    Stems(const std::string& folder, std::vector<std::string> paths, OutputGuard& guard,
          const FrameGrid& grid, const zrtl::FrameRange& span);
    ~Stems();

    /// @param project  contains the sequence that is mixed
    /// @return the stems, to be rendered with the mix
    MixGroup Begin(const std::shared_ptr<project::Project>& project, sonrel::DitherType dither,
                   unsigned int seed);
    /// Flushes all files to the disk. @throws JobError
    void Seal();
    /// Renames the files to their names. Throws like OutputFile.
    void Finish();

    const std::vector<std::string>& Paths() const { return paths_; }

private:
    struct Stem;

    std::vector<std::string> paths_;
    std::vector<std::unique_ptr<Stem>> stems_;
    std::shared_ptr<sonrel::Sonrel> engine_;
};

}  // namespace orlo::host
