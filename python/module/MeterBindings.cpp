// SPDX-License-Identifier: MIT
#include <pybind11/stl.h>

#include <mutex>
#include <optional>

#include "host/shell/Errors.h"
#include "python/module/Arguments.h"
#include "python/module/Bindings.h"
#include "sonrel/loudness/LoudnessMeter.h"

namespace py = pybind11;

namespace orlo::python {

namespace {

/// Levels as arrays of Python.
struct SignalArrays {
    std::string name;
    py::array peak;
    py::array clipped;
};

SignalArrays ArraysOf(SignalLevels levels) {
    const auto blocks = static_cast<py::ssize_t>(levels.peaks.size() / 2);
    return {levels.name, ArrayOf(std::move(levels.peaks), py::dtype::of<float>(), {blocks, 2}),
            ArrayOf(std::move(levels.clipped), py::dtype("bool"), {blocks, 2})};
}

using sonrel::LoudnessMeter;

/// A meter that threads may share. No thread waits for the interpreter lock while it uses it.
class SharedLoudnessMeter {
public:
    explicit SharedLoudnessMeter(int rate) : meter_(CheckedRate(rate)) {}

    void Add(const py::array& samples) {
        const StereoArray frames = InputArray(samples);
        const short* const data = frames.data();
        const auto count = static_cast<std::size_t>(frames.shape(0));
        Use([&](LoudnessMeter& meter) { meter.Add(data, count); });
    }

    void Reset() {
        Use([](LoudnessMeter& meter) { meter.Reset(); });
    }

    template <std::optional<double> (LoudnessMeter::*Result)() const>
    std::optional<double> Get() {
        std::optional<double> value;
        Use([&](const LoudnessMeter& meter) { value = (meter.*Result)(); });
        return value;
    }

private:
    static int CheckedRate(int rate) {
        if (rate >= LoudnessMeter::MIN_RATE && rate <= LoudnessMeter::MAX_RATE) return rate;
        throw host::UsageError("rate must be from 8000 to 192000 Hz, and is " +
                               std::to_string(rate));
    }

    template <class Function>
    void Use(const Function& function) {
        const py::gil_scoped_release released;
        const std::lock_guard lock(mutex_);
        function(meter_);
    }

    std::mutex mutex_;
    LoudnessMeter meter_;
};

void DeclareLoudnessMeter(py::module_& module) {
    using Shared = SharedLoudnessMeter;
    py::class_<Shared>(module, "LoudnessMeter",
                       R"(Measures the loudness and the true peak of samples after ITU-R BS.1770-4.

>>> import numpy
>>> meter = sonrel.LoudnessMeter(48000)
>>> meter.add(numpy.zeros((48000, 2), numpy.int16))
>>> print(meter.integrated, meter.true_peak)
None None
)")
        .def(py::init<int>(), py::arg("rate"))
        .def("add", &Shared::Add, py::arg("samples"),
             "Adds samples: int16, or floats with full scale 1.0, of shape (frames, 2); (frames,) "
             "is the same on both sides.")
        .def("reset", &Shared::Reset, "Begins a new measurement.")
        .def_property_readonly("momentary", &Shared::Get<&LoudnessMeter::MomentaryLufs>,
                               "The loudness of the last 0.4 s in LUFS; None before, and for "
                               "silence.")
        .def_property_readonly(
            "short_term", &Shared::Get<&LoudnessMeter::ShortTermLufs>,
            "The loudness of the last 3 s in LUFS; None before, and for silence.")
        .def_property_readonly("max_momentary", &Shared::Get<&LoudnessMeter::MaxMomentaryLufs>,
                               "The largest momentary loudness in LUFS, or None.")
        .def_property_readonly("max_short_term", &Shared::Get<&LoudnessMeter::MaxShortTermLufs>,
                               "The largest short-term loudness in LUFS, or None.")
        .def_property_readonly("integrated", &Shared::Get<&LoudnessMeter::IntegratedLufs>,
                               "The integrated loudness in LUFS; None below the gate of -70 LUFS.")
        .def_property_readonly("range", &Shared::Get<&LoudnessMeter::RangeLu>,
                               "The loudness range in LU; None when no 3 s are above -70 LUFS.")
        .def_property_readonly("true_peak", &Shared::Get<&LoudnessMeter::TruePeakDb>,
                               "The true peak in dBTP; None for silence.");
}

}  // namespace

void DeclareMeters(py::module_& module) {
    py::class_<SignalArrays>(module, "SignalLevels",
                             "The meter blocks of a track or of the master.")
        .def_readonly("name", &SignalArrays::name, "The name of the track, or \"master\".")
        .def_readonly(
            "peak", &SignalArrays::peak,
            "The largest absolute value of each block, left and right: a float32 array of "
            "shape (blocks, 2), full scale 1.0.")
        .def_readonly("clipped", &SignalArrays::clipped,
                      "Whether a value of the block clips, left and right: a bool array of shape "
                      "(blocks, 2).");
    py::class_<Levels>(module, "Levels", "The levels of a mixed range.")
        .def_property_readonly(
            "tracks",
            [](const Levels& levels) {
                py::list tracks;
                for (const SignalLevels& track : levels.tracks) tracks.append(ArraysOf(track));
                return tracks;
            },
            "The levels of each track, after its level and balance.")
        .def_property_readonly(
            "master", [](const Levels& levels) { return ArraysOf(levels.master); },
            "The levels of the mix.")
        .def_readonly("rate", &Levels::rate, "The sample rate in hertz.")
        .def_readonly("block_frames", &Levels::blockFrames,
                      "The length of a meter block in samples; the last block may be shorter.")
        .def_property_readonly(
            "start", [](const Levels& levels) { return levels.span.start; },
            "The position of the first block in samples.")
        .def_readonly("integrated", &Levels::loudness,
                      "The integrated loudness in LUFS; None for silence, for less than 0.4 s "
                      "and at rates that LoudnessMeter does not measure.")
        .def_readonly("true_peak", &Levels::truePeak, "The true peak in dBTP; None for silence.");
    DeclareLoudnessMeter(module);
}

}  // namespace orlo::python
