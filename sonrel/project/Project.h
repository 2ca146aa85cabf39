// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/project/AssetList.h"
#include "sonrel/project/EditorSequence.h"

namespace orlo::project {

class MediaManager;

/// One open project: the asset list and the main sequence.
///
/// Threads: not safe by itself. A host holds the mixer's mutex around edits of flags, levels and
/// balance, and makes structural edits while nothing mixes.
class SONREL_EXPORT Project {
public:
    /// No assets, a sequence of 0 frames at 25 frames a second and 48000 Hz, a media manager.
    Project();
    /// Shares assets, sequence and manager of @p source; the list of assets is the copy's own.
    Project(Project const& source, int = 0);
    Project& operator=(Project const&) = delete;
    ~Project();

    AssetList& Assets();
    std::shared_ptr<EditorSequence> const& Sequence() const;
    std::shared_ptr<MediaManager> const& Manager() const;
    /// @throws std::invalid_argument for an empty pointer
    void SetSequence(std::shared_ptr<EditorSequence> sequence);

private:
    std::shared_ptr<MediaManager> manager_;
    AssetList assets_;
    std::shared_ptr<EditorSequence> sequence_;
};

}  // namespace orlo::project
