// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <memory>
#include <unordered_map>
#include <vector>

#include "sonrel/project/AbstractSequenceObject.h"

namespace orlo::project {

struct SequenceObjectListImpl {
    std::vector<std::shared_ptr<AbstractSequenceObject>> objects;  ///< by start frame
    std::vector<int> startFrames;  ///< of the objects: a search reads no object
    std::unordered_map<zrtl::ZRID, std::shared_ptr<AbstractSequenceObject>> byId;

    SequenceObjectListImpl() = default;
    SequenceObjectListImpl(SequenceObjectListImpl const& source);
    SequenceObjectListImpl& operator=(SequenceObjectListImpl const&) = delete;
    ~SequenceObjectListImpl();

    /// Index of the first object that begins after @p frame.
    std::size_t FirstAfter(int frame) const;
    /// @throws std::invalid_argument as SequenceObjectList::Add
    void Add(std::shared_ptr<AbstractSequenceObject> object);
    bool Remove(zrtl::ZRID const& id);
    /// @throws std::invalid_argument when another object than @p object covers a frame of the range
    void RefuseOverlap(AbstractSequenceObject const* object, int startFrame, int endFrame) const;
    /// Restores the order after an object was moved.
    void SortByStart();
};

}  // namespace orlo::project
