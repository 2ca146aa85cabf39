// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/mix/MixRender.h"
#include "host/output/SoundWriter.h"
#include "sonrel/engine/Sonrel.h"
#include "sonrel/mixer/SampleConverter.h"
#include "sonrel/project/Project.h"

namespace orlo::host {

/// The files of the stems in a folder: "01-Voice.wav". Characters other than letters, digits, dash
/// and underscore become underscores; an empty name becomes "track".
std::vector<std::string> StemPaths(const std::string& folder,
                                   const std::vector<std::string>& trackNames);

/// Creates the folder of stems if it is missing, and their files under temporary names.
/// @param frames  number of frames that follow
/// @throws JobError
std::vector<std::unique_ptr<SoundWriter>> OpenStems(const std::string& folder,
                                                    const std::vector<std::string>& paths,
                                                    OutputGuard& guard, int rate, long long frames);

/// Writes each track of a sequence to a separate file while the sequence is mixed.
///
/// A stem has its track's level, balance, effects and transitions and the master level. The stem of
/// a track that is inaudible in the mix, because it is muted or another track is solo, is silent. A
/// separate engine mixes the stems, so that they do not change the dither noise of the mix.
class Stems {
public:
    /// @param writers  one for each track
    explicit Stems(std::vector<std::unique_ptr<SoundWriter>> writers);
    ~Stems();

    /// @param project  contains the sequence that is mixed
    /// @return the stems, to be rendered with the mix
    MixGroup Begin(const std::shared_ptr<project::Project>& project, sonrel::DitherType dither,
                   unsigned int seed);
    /// Flushes all files to the disk. @throws JobError
    void Seal();
    /// Renames the files to their names. Throws like OutputFile.
    void Finish();

private:
    struct Stem;

    std::vector<std::unique_ptr<Stem>> stems_;
    std::shared_ptr<sonrel::Sonrel> engine_;
};

}  // namespace orlo::host
