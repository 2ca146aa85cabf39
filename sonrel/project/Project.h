// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/project/AssetList.h"
#include "sonrel/project/EditorSequence.h"

namespace orlo::project {

class MediaManager;
struct ProjectImpl;

/// One open project: the asset list and the main sequence.
///
/// Threads: the class has no lock. A host holds the mixer's mutex around edits of flags, levels and
/// balance, and makes structural edits while nothing mixes.
class SONREL_EXPORT Project {
public:
    /// No assets, a sequence of 0 frames at 25 frames a second and 48000 Hz, a media manager.
    Project();
    /// Shares assets, sequence and manager of @p source. The copy has a separate list of assets.
    Project(Project const& source, int = 0);
    Project& operator=(Project const&) = delete;
    ~Project();

    AssetList& Assets();                                      ///< all assets of the project
    std::shared_ptr<EditorSequence> const& Sequence() const;  ///< the main sequence; never empty
    std::shared_ptr<MediaManager> const& Manager() const;     ///< for the assets; never empty
    /// @throws std::invalid_argument for an empty pointer
    void SetSequence(std::shared_ptr<EditorSequence> sequence);

private:
    std::unique_ptr<ProjectImpl> impl_;
};

}  // namespace orlo::project
