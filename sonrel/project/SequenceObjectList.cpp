// SPDX-License-Identifier: MIT
#include "sonrel/project/SequenceObjectList.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <utility>

#include "sonrel/project/detail/SequenceObjectImpl.h"
#include "sonrel/project/detail/SequenceObjectListImpl.h"

namespace orlo::project {

SequenceObjectListImpl::SequenceObjectListImpl(SequenceObjectListImpl const& source)
    : objects(source.objects), startFrames(source.startFrames), byId(source.byId) {
    for (auto const& object : objects) object->impl_->lists.push_back(this);
}

SequenceObjectListImpl::~SequenceObjectListImpl() {
    for (auto const& object : objects) std::erase(object->impl_->lists, this);
}

std::size_t SequenceObjectListImpl::FirstAfter(int frame) const {
    const auto found = std::upper_bound(startFrames.begin(), startFrames.end(), frame);
    return static_cast<std::size_t>(found - startFrames.begin());
}

void SequenceObjectListImpl::Add(std::shared_ptr<AbstractSequenceObject> object) {
    if (!object) throw std::invalid_argument("a track takes no empty object");
    if (object->EndFrame() <= object->StartFrame()) {
        throw std::invalid_argument("an object on a track must cover at least one frame");
    }
    if (byId.count(object->ID()) != 0) {
        throw std::invalid_argument("the track holds an object of this identity already");
    }
    if (!object->impl_->lists.empty()) {
        throw std::invalid_argument("the object stands on another track");
    }
    RefuseOverlap(object.get(), object->StartFrame(), object->EndFrame());
    object->impl_->lists.push_back(this);
    byId.emplace(object->ID(), object);
    const auto at = static_cast<std::ptrdiff_t>(FirstAfter(object->StartFrame()));
    startFrames.insert(startFrames.begin() + at, object->StartFrame());
    objects.insert(objects.begin() + at, std::move(object));
}

bool SequenceObjectListImpl::Remove(zrtl::ZRID const& id) {
    const auto found = byId.find(id);
    if (found == byId.end()) return false;
    const std::shared_ptr<AbstractSequenceObject> object = found->second;
    byId.erase(found);
    const auto at = std::find(objects.begin(), objects.end(), object);
    startFrames.erase(startFrames.begin() + (at - objects.begin()));
    objects.erase(at);
    std::erase(object->impl_->lists, this);
    return true;
}

/// The objects of a list do not overlap, so that only the nearest on each side can be in the way.
void SequenceObjectListImpl::RefuseOverlap(AbstractSequenceObject const* object, int startFrame,
                                           int endFrame) const {
    std::size_t later = FirstAfter(startFrame);
    std::size_t earlier = later;
    while (earlier > 0 && objects[earlier - 1].get() == object) --earlier;
    const bool meetsEarlier = earlier > 0 && objects[earlier - 1]->EndFrame() > startFrame;
    if (later < objects.size() && objects[later].get() == object) ++later;
    const bool meetsLater = later < objects.size() && startFrames[later] < endFrame;
    if (meetsEarlier || meetsLater) {
        throw std::invalid_argument("the object would overlap another object of its track");
    }
}

void SequenceObjectListImpl::SortByStart() {
    std::sort(objects.begin(), objects.end(), [](auto const& left, auto const& right) {
        return left->StartFrame() < right->StartFrame();
    });
    startFrames.clear();
    for (auto const& object : objects) startFrames.push_back(object->StartFrame());
}

SequenceObjectList::SequenceObjectList() : impl_(std::make_unique<SequenceObjectListImpl>()) {}

SequenceObjectList::SequenceObjectList(
    SequenceObjectList const& source,
    std::unordered_map<zrtl::ZRID, std::shared_ptr<CompositionAsset>>, EditorSequence*,
    zrtl::ZRID const&, int)
    : impl_(std::make_unique<SequenceObjectListImpl>(*source.impl_)) {}

SequenceObjectList::~SequenceObjectList() = default;

std::shared_ptr<AbstractSequenceObject> SequenceObjectList::FindOnFrame(int frame) const {
    const std::size_t after = impl_->FirstAfter(frame);
    if (after == 0) return nullptr;
    std::shared_ptr<AbstractSequenceObject> const& object = impl_->objects[after - 1];
    return frame < object->EndFrame() ? object : nullptr;
}

std::shared_ptr<AbstractSequenceObject> SequenceObjectList::GetByID(zrtl::ZRID const& id) const {
    const auto found = impl_->byId.find(id);
    return found == impl_->byId.end() ? nullptr : found->second;
}

void SequenceObjectList::Add(std::shared_ptr<AbstractSequenceObject> object) {
    impl_->Add(std::move(object));
}

bool SequenceObjectList::Remove(zrtl::ZRID const& id) {
    return impl_->Remove(id);
}

std::vector<std::shared_ptr<AbstractSequenceObject>> const& SequenceObjectList::All() const {
    return impl_->objects;
}

}  // namespace orlo::project
