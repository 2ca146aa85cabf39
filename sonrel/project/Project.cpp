// SPDX-License-Identifier: MIT
#include "sonrel/project/Project.h"

#include <stdexcept>
#include <utility>

#include "sonrel/project/MediaManager.h"

namespace orlo::project {

Project::Project()
    : manager_(std::make_shared<MediaManager>()), sequence_(std::make_shared<EditorSequence>()) {}

Project::Project(Project const& source, int)
    : manager_(source.manager_), assets_(source.assets_), sequence_(source.sequence_) {}

Project::~Project() = default;

AssetList& Project::Assets() {
    return assets_;
}
std::shared_ptr<EditorSequence> const& Project::Sequence() const {
    return sequence_;
}
std::shared_ptr<MediaManager> const& Project::Manager() const {
    return manager_;
}

void Project::SetSequence(std::shared_ptr<EditorSequence> sequence) {
    if (!sequence) throw std::invalid_argument("a project needs a sequence");
    sequence_ = std::move(sequence);
}

}  // namespace orlo::project
