// SPDX-License-Identifier: MIT
#include "sonrel/project/Project.h"

#include <stdexcept>
#include <utility>

#include "sonrel/project/MediaManager.h"

namespace orlo::project {

struct ProjectImpl {
    std::shared_ptr<MediaManager> manager;
    AssetList assets;
    std::shared_ptr<EditorSequence> sequence;
};

Project::Project() : impl_(std::make_unique<ProjectImpl>()) {
    impl_->manager = std::make_shared<MediaManager>();
    impl_->sequence = std::make_shared<EditorSequence>();
}

Project::Project(Project const& source, int)
    : impl_(std::make_unique<ProjectImpl>(*source.impl_)) {}

Project::~Project() = default;

AssetList& Project::Assets() {
    return impl_->assets;
}
std::shared_ptr<EditorSequence> const& Project::Sequence() const {
    return impl_->sequence;
}
std::shared_ptr<MediaManager> const& Project::Manager() const {
    return impl_->manager;
}

void Project::SetSequence(std::shared_ptr<EditorSequence> sequence) {
    if (!sequence) throw std::invalid_argument("a project needs a sequence");
    impl_->sequence = std::move(sequence);
}

}  // namespace orlo::project
