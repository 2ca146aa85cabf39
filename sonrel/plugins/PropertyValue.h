// SPDX-License-Identifier: MIT
#pragma once

#include <boost/variant.hpp>
#include <cstdint>
#include <string>

#include "sonrel/base/Export.h"
#include "sonrel/base/ZRID.h"
#include "sonrel/base/ZRMatl.h"

namespace orlo::project {

/// A colour as four 32-bit words, copied as plain data.
struct OrloColor {
    std::uint32_t words[4] = {};  ///< copied only
};

struct Scale3D {
    double x = 1.0, /**< a factor */ y = 1.0, /**< a factor */ z = 1.0; /**< a factor */
};  ///< a scale in three dimensions

struct Orientation3D {
    double x = 0.0, /**< an angle */ y = 0.0, /**< an angle */ z = 0.0; /**< an angle */
};  ///< an orientation in three dimensions

/// A value of a kind that a plugin defines.
class SONREL_EXPORT CustomProperty {
public:
    CustomProperty() = default;
    CustomProperty(const CustomProperty&) = default;
    CustomProperty& operator=(const CustomProperty&) = default;
    virtual ~CustomProperty() = default;
};

/// Tags for the two ends of a property's range.
class PropertyValueRange {
public:
    struct Min {
        Min& operator=(const Min&) { return *this; }  ///< nothing to copy
    };                                                ///< the lower end
    struct Max {
        Max& operator=(const Max&) { return *this; }  ///< nothing to copy
    };                                                ///< the upper end
};

/// The value of a property. A reader extracts it by its exact type: a level is a `float`, a speed a
/// `double`, a balance a `float`. Any other alternative raises `boost::bad_get`.
using PropertyValue =
    boost::variant<int, unsigned int, float, double, bool, Scale3D, Orientation3D, OrloColor,
                   zrtl::matl::ZRPoint<2, float>, zrtl::matl::ZRPoint<3, float>,
                   zrtl::matl::ZRVector<2, float>, zrtl::matl::ZRVector<3, float>, zrtl::ZRID,
                   zrtl::matl::ZRMatrix<4, 4, float>, std::wstring, CustomProperty>;

}  // namespace orlo::project
