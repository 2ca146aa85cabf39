// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "host/align/RecordingPair.h"
#include "host/media/EngineSession.h"
#include "host/options/GlobalOptions.h"
#include "host/shell/Progress.h"
#include "sonrel/media/SoundChoice.h"
#include "sonrel/project/MediaAsset.h"
#include "sonrel/project/Project.h"

namespace orlo::host {

/// The recordings that are compared with each other. Each file is imported once. A file that cannot
/// be used is kept with its error, so that the other files are still aligned.
class Recordings {
public:
    /// @throws UsageError when an input is a timeline
    Recordings(const GlobalOptions& global, const std::vector<std::string>& inputs,
               const zrh::media::SoundChoice& sound);

    const std::vector<Recording>& List() const { return list_; }
    int Rate() const { return rate_; }

    /// Excludes a file that cannot be read. Before Prepare.
    /// @param input  as in the constructor
    /// @param error  a clause
    void SetError(const std::string& input, const std::string& error);

    /// Conforms the recordings and finds or makes their peak files.
    /// @param jobs  recordings at the same time
    /// @throws JobError when the database fails; CommandError when the program is asked to stop
    void Prepare(const EngineSession& session, int jobs, Progress& progress);

    /// Moves a recording before all others, which keep their order.
    void MoveToFront(std::size_t index);

private:
    struct Source {
        std::shared_ptr<project::MediaAsset> asset;
        std::string error;  ///< a clause; empty when the file can be used
    };

    void Import();
    std::vector<Source*> UsableSources();
    void ConformSources(const EngineSession& session, int jobs, Progress& progress);
    void PreparePeaks(const EngineSession& session, int jobs, Progress& progress);
    void ReadLevels(Recording& recording) const;

    project::Project project_;
    std::map<std::string, Source> sources_;
    std::vector<Recording> list_;
    int rate_ = 0;
    zrh::media::SoundChoice sound_;
};

}  // namespace orlo::host
