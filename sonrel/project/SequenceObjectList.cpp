// SPDX-License-Identifier: MIT
#include "sonrel/project/SequenceObjectList.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace orlo::project {

namespace {

using Object = std::shared_ptr<AbstractSequenceObject>;

/// The first object that begins behind @p frame.
auto FirstBehind(const std::vector<Object>& objects, int frame) {
    return std::upper_bound(
        objects.begin(), objects.end(), frame,
        [](int wanted, const Object& object) { return wanted < object->StartFrame(); });
}

}  // namespace

SequenceObjectList::SequenceObjectList() = default;

SequenceObjectList::SequenceObjectList(
    SequenceObjectList const& source,
    std::unordered_map<zrtl::ZRID, std::shared_ptr<CompositionAsset>>, EditorSequence*,
    zrtl::ZRID const&, int)
    : objects_(source.objects_), byId_(source.byId_) {
    for (const Object& object : objects_) object->lists_.push_back(this);
}

SequenceObjectList::~SequenceObjectList() {
    for (const Object& object : objects_) std::erase(object->lists_, this);
}

std::shared_ptr<AbstractSequenceObject> SequenceObjectList::FindOnFrame(int frame) const {
    const auto behind = FirstBehind(objects_, frame);
    if (behind == objects_.begin()) return nullptr;
    const Object& object = *std::prev(behind);
    return frame < object->EndFrame() ? object : nullptr;
}

std::shared_ptr<AbstractSequenceObject> SequenceObjectList::GetByID(zrtl::ZRID const& id) const {
    const auto found = byId_.find(id);
    return found == byId_.end() ? nullptr : found->second;
}

void SequenceObjectList::Add(std::shared_ptr<AbstractSequenceObject> object) {
    if (!object) throw std::invalid_argument("a track takes no empty object");
    if (object->EndFrame() <= object->StartFrame()) {
        throw std::invalid_argument("an object on a track must cover at least one frame");
    }
    if (byId_.count(object->ID()) != 0) {
        throw std::invalid_argument("the track holds an object of this identity already");
    }
    if (!object->lists_.empty()) {
        throw std::invalid_argument("the object stands on another track");
    }
    RefuseOverlap(object.get(), object->StartFrame(), object->EndFrame());
    object->lists_.push_back(this);
    byId_.emplace(object->ID(), object);
    const auto at = FirstBehind(objects_, object->StartFrame());
    objects_.insert(at, std::move(object));
}

bool SequenceObjectList::Remove(zrtl::ZRID const& id) {
    const auto found = byId_.find(id);
    if (found == byId_.end()) return false;
    const Object object = found->second;
    byId_.erase(found);
    std::erase(objects_, object);
    std::erase(object->lists_, this);
    return true;
}

std::vector<std::shared_ptr<AbstractSequenceObject>> const& SequenceObjectList::All() const {
    return objects_;
}

/// The objects of a list do not overlap, so that only the nearest on each side can be in the way.
void SequenceObjectList::RefuseOverlap(AbstractSequenceObject const* object, int startFrame,
                                       int endFrame) const {
    auto at = FirstBehind(objects_, startFrame);
    auto before = at;
    while (before != objects_.begin() && std::prev(before)->get() == object) --before;
    const bool meetsEarlier =
        before != objects_.begin() && (*std::prev(before))->EndFrame() > startFrame;
    if (at != objects_.end() && at->get() == object) ++at;
    const bool meetsLater = at != objects_.end() && (*at)->StartFrame() < endFrame;
    if (meetsEarlier || meetsLater) {
        throw std::invalid_argument("the object would overlap another object of its track");
    }
}

void SequenceObjectList::SortByStart() {
    std::sort(objects_.begin(), objects_.end(), [](const Object& left, const Object& right) {
        return left->StartFrame() < right->StartFrame();
    });
}

}  // namespace orlo::project
