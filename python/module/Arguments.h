// SPDX-License-Identifier: MIT
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/options/GlobalOptions.h"
#include "host/timeline/Positions.h"
#include "python/module/Operation.h"
#include "python/module/Project.h"
#include "sonrel/media/SoundChoice.h"

/// Python values as values of the program, and the reverse. All functions need the interpreter
/// lock. Their errors are UsageErrors, as for the options of the program.
namespace orlo::python {

using StereoArray = pybind11::array_t<short>;

/// The text of a path: a str, or an object with __fspath__.
std::string PathOf(const pybind11::handle& path);

/// The arguments @p progress and @p cancel of an operation.
Controls ControlsOf(const pybind11::object& progress, std::shared_ptr<Cancellation> cancel);

/// The arguments @p stream, from 1, and @p channels, which has the form of --channels.
zrh::media::SoundChoice SoundOf(std::optional<int> stream,
                                const std::optional<std::string>& channels);

int RateOf(int rate);

/// Sets a frame rate: a number, or a text like "29.97df" or "24000/1001"; None changes nothing.
void SetFps(const pybind11::object& fps, host::GlobalOptions& options);

/// A dict from old to new beginnings of paths, or None.
std::vector<host::otio::MediaRoot> MediaRootsOf(const pybind11::object& roots);

NoiseChoice NoiseOf(const std::string& dither, const pybind11::object& seed);

/// A position as --from and --to accept it: samples as an int, a text, or None for empty.
std::string PositionText(const pybind11::object& position, const char* name);

/// An int16 array of shape (frames, 2) to mix into. A part of another array is accepted.
/// @param frames  required length
StereoArray OutputArray(const pybind11::object& array, long long frames);
StereoArray NewStereoArray(long long frames);

/// Samples to compare, as 16-bit stereo: int16 or floats, of shape (frames,), (frames, 1) or
/// (frames, 2).
StereoArray InputArray(const pybind11::array& array);

/// An array that owns a vector, without a copy.
template <class Value>
pybind11::array ArrayOf(std::vector<Value> values, const pybind11::dtype& type,
                        std::vector<pybind11::ssize_t> shape) {
    auto owned = std::make_unique<std::vector<Value>>(std::move(values));
    Value* const data = owned->data();
    const pybind11::capsule owner(
        owned.get(), [](void* vector) { delete static_cast<std::vector<Value>*>(vector); });
    static_cast<void>(owned.release());
    return pybind11::array(type, std::move(shape), data, owner);
}

}  // namespace orlo::python
