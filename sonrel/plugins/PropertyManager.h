// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "sonrel/base/Export.h"
#include "sonrel/plugins/PropertyValue.h"

namespace orlo::project {

struct PropertyManagerImpl;

/// The named properties of an object, layer or track, static and animated.
///
/// Times are integer milliseconds: for an object or layer from its start, for a track or the master
/// track on the clock of the sequence. A host that edits while another thread mixes holds the mutex
/// of the mixer.
class SONREL_EXPORT PropertyManager {
public:
    PropertyManager();
    PropertyManager(const PropertyManager& source, int = 0);  ///< copies all properties
    PropertyManager& operator=(const PropertyManager&);       ///< copies all properties
    ~PropertyManager();

    /// The value of an animated property at a time.
    ///
    /// Between two key frames a `float` or `double` is interpolated linearly, in double precision:
    /// v0 + (v1 - v0) * ((t - t0) / (t1 - t0)). Other alternatives keep the value of the earlier
    /// key frame. Before the first key frame and after the last one, the value is that of the
    /// nearest. Without key frames it is the static value.
    /// @param key     the name of the property
    /// @param flag    not used; the engine passes false
    /// @param timeMs  milliseconds
    /// @return the value; an `int` 0 for an unknown key, so that the reader raises boost::bad_get
    PropertyValue ValueAtTime(char const* key, bool flag, int timeMs) const;

    /// The value of a property that is not animated; an `int` 0 for an unknown key.
    PropertyValue const& StaticValue(char const* key) const;

    /// Stores a static value.
    void SetStaticValue(char const* key, PropertyValue const& value);

    /// Stores a value at a time and replaces a key frame at the same time. For a property that did
    /// not exist it is the static value as well.
    /// @throws std::invalid_argument when the alternative differs from that of the other key
    /// frames,
    ///         or a float or double is not finite
    void SetKeyframe(char const* key, int timeMs, PropertyValue const& value);
    void RemoveKeyframe(char const* key, int timeMs);  ///< nothing without a key frame
    void ClearKeyframes(char const* key);              ///< keeps the static value
    bool HasKeyframes(char const* key) const;          ///< whether it is animated

    /// Removes a property with its key frames.
    void RemoveProperty(char const* key);

private:
    std::unique_ptr<PropertyManagerImpl> impl_;
};

}  // namespace orlo::project
