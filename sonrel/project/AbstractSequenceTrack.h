// SPDX-License-Identifier: MIT
#pragma once

#include "sonrel/base/Export.h"

namespace orlo::project {

class PropertyManager;
class SequenceObjectList;

/// A track of a sequence.
class SONREL_EXPORT AbstractSequenceTrack {
public:
    virtual ~AbstractSequenceTrack() = default;

    virtual PropertyManager& Animation() = 0;   ///< the properties of the track
    virtual SequenceObjectList& Objects() = 0;  ///< the objects of the track
};

}  // namespace orlo::project
