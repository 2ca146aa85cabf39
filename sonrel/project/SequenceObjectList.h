// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <unordered_map>
#include <vector>

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRID.h"
#include "sonrel/project/AbstractSequenceObject.h"

namespace orlo::project {

class CompositionAsset;
class EditorSequence;

/// The objects of one track, by time and by identity. No two overlap.
class SONREL_EXPORT SequenceObjectList {
public:
    SequenceObjectList();
    /// Shares the objects of @p source, which from then on keep clear of the neighbours that they
    /// have in either list; the other arguments are not used.
    SequenceObjectList(
        SequenceObjectList const& source,
        std::unordered_map<zrtl::ZRID, std::shared_ptr<CompositionAsset>> compositions = {},
        EditorSequence* sequence = nullptr, zrtl::ZRID const& id = {}, int = 0);
    SequenceObjectList& operator=(SequenceObjectList const&) = delete;
    ~SequenceObjectList();

    /// The object that covers a frame, or an empty pointer.
    std::shared_ptr<AbstractSequenceObject> FindOnFrame(int frame) const;
    /// The object of an identity, or an empty pointer.
    std::shared_ptr<AbstractSequenceObject> GetByID(zrtl::ZRID const& id) const;

    /// Adds an object.
    /// @throws std::invalid_argument for an empty pointer, an empty range, an identity that is
    ///         there already, an object of another list, or an overlap
    void Add(std::shared_ptr<AbstractSequenceObject> object);
    /// @return whether there was such an object
    bool Remove(zrtl::ZRID const& id);
    /// In the order of their start frames.
    std::vector<std::shared_ptr<AbstractSequenceObject>> const& All() const;

private:
    friend class AbstractSequenceObject;

    void RefuseOverlap(AbstractSequenceObject const* object, int startFrame, int endFrame) const;
    void SortByStart();

    std::vector<std::shared_ptr<AbstractSequenceObject>> objects_;
    std::unordered_map<zrtl::ZRID, std::shared_ptr<AbstractSequenceObject>> byId_;
};

}  // namespace orlo::project
