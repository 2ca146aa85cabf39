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
struct SequenceObjectListImpl;

/// The objects of one track, by time and by identity. No two objects overlap.
class SONREL_EXPORT SequenceObjectList {
public:
    SequenceObjectList();
    /// Shares the objects of @p source. From then on an object refuses to overlap its neighbours in
    /// either list. The other arguments are not used.
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
    /// @throws std::invalid_argument for an empty pointer, an empty range, an identity that the
    ///         list contains already, an object of another list, or an overlap
    void Add(std::shared_ptr<AbstractSequenceObject> object);
    /// @return whether the list contained such an object
    bool Remove(zrtl::ZRID const& id);
    /// In the order of their start frames.
    std::vector<std::shared_ptr<AbstractSequenceObject>> const& All() const;

private:
    std::unique_ptr<SequenceObjectListImpl> impl_;
};

}  // namespace orlo::project
