// SPDX-License-Identifier: MIT
#pragma once

#include <pybind11/numpy.h>

#include "python/module/Media.h"

namespace orlo::python {

/// Peaks as arrays of Python.
struct PeakArrays {
    int rate = 0;
    int samplesPerPoint = 0;
    pybind11::array peaks;
    pybind11::array rms;
};

}  // namespace orlo::python
