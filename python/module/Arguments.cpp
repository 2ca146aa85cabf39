// SPDX-License-Identifier: MIT
#include "python/module/Arguments.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "host/otio/FrameRates.h"
#include "host/shell/Errors.h"
#include "host/shell/SoundText.h"
#include "host/shell/Text.h"

namespace py = pybind11;

namespace orlo::python {

namespace {

constexpr auto SIDES = static_cast<py::ssize_t>(CHANNELS);
constexpr int MIN_RATE = 64;
constexpr int MAX_RATE = 768000;
constexpr int MAX_STREAM = 4096;

std::string TypeName(const py::handle& value) {
    return py::str(py::type::handle_of(value).attr("__name__"));
}

/// Rounds a float of full scale 1.0 to 16 bits. Not a number is silence.
short ToInt16(double value) {
    if (std::isnan(value)) return 0;
    return static_cast<short>(std::clamp(std::nearbyint(value * 32768.0), -32768.0, 32767.0));
}

StereoArray FromFloats(const py::array& array) {
    const auto floats = py::array_t<double, py::array::forcecast>::ensure(array);
    if (!floats) throw py::error_already_set();
    const auto frames = floats.unchecked<2>();
    StereoArray samples = NewStereoArray(frames.shape(0));
    auto values = samples.mutable_unchecked<2>();
    for (py::ssize_t frame = 0; frame < frames.shape(0); ++frame) {
        for (py::ssize_t channel = 0; channel < SIDES; ++channel) {
            values(frame, channel) = ToInt16(frames(frame, std::min(channel, frames.shape(1) - 1)));
        }
    }
    return samples;
}

StereoArray FromIntegers(const py::array& array) {
    const auto integers = array.cast<StereoArray>();
    const auto frames = integers.unchecked<2>();
    StereoArray samples = NewStereoArray(frames.shape(0));
    auto values = samples.mutable_unchecked<2>();
    for (py::ssize_t frame = 0; frame < frames.shape(0); ++frame) {
        for (py::ssize_t channel = 0; channel < SIDES; ++channel) {
            values(frame, channel) = frames(frame, std::min(channel, frames.shape(1) - 1));
        }
    }
    return samples;
}

}  // namespace

std::string PathOf(const py::handle& path) {
    if (!py::isinstance<py::str>(path) && !py::hasattr(path, "__fspath__")) {
        throw py::type_error("a path must be a str or an os.PathLike object, not " +
                             TypeName(path));
    }
    const py::object bytes = py::module_::import("os").attr("fsencode")(path);
    return bytes.cast<std::string>();
}

Controls ControlsOf(const py::object& progress, std::shared_ptr<Cancellation> cancel) {
    if (!progress.is_none() && PyCallable_Check(progress.ptr()) == 0) {
        throw py::type_error("progress must be a callable or None, not " + TypeName(progress));
    }
    return {progress, std::move(cancel)};
}

zrh::media::SoundChoice SoundOf(std::optional<int> stream,
                                const std::optional<std::string>& channels) {
    if (stream && (*stream < 1 || *stream > MAX_STREAM)) {
        throw host::UsageError("stream counts the audio streams of a file from 1 to 4096");
    }
    const int index = stream.value_or(1) - 1;
    if (!channels) return zrh::media::SoundChoice::OfStream(index);
    const std::optional<host::ChannelList> list = host::ParseChannels(*channels);
    if (!list) {
        throw host::UsageError("channels: " + host::Quoted(*channels) + " is not " +
                               host::CHANNEL_FORMS);
    }
    if (stream && list->namesStreams) {
        throw host::UsageError("channels names its audio streams; leave out stream");
    }
    return list->In(index);
}

int RateOf(int rate) {
    if (rate >= MIN_RATE && rate <= MAX_RATE) return rate;
    throw host::UsageError("rate must be from 64 to 768000 Hz, and is " + std::to_string(rate));
}

void SetFps(const py::object& fps, host::GlobalOptions& options) {
    if (fps.is_none()) return;
    const std::string text = py::str(fps);
    const std::optional<host::otio::FrameRateText> rate = host::otio::ParseFrameRate(text);
    if (!rate) {
        throw host::UsageError("fps: " + host::Quoted(text) + " is not a frame rate above 0");
    }
    options.fps = rate->fps;
    options.dropFrame = rate->dropFrame;
}

std::vector<host::otio::MediaRoot> MediaRootsOf(const py::object& roots) {
    std::vector<host::otio::MediaRoot> list;
    if (roots.is_none()) return list;
    if (!py::isinstance<py::dict>(roots)) {
        throw py::type_error("media_root must be a dict from old to new folders, not " +
                             TypeName(roots));
    }
    for (const auto& [from, to] : roots.cast<py::dict>()) {
        list.push_back({PathOf(from), PathOf(to)});
        if (list.back().from.empty()) {
            throw host::UsageError("media_root: the old folder must not be empty");
        }
    }
    return list;
}

NoiseChoice NoiseOf(const std::string& dither, const py::object& seed) {
    using host::DitherChoice;
    NoiseChoice noise;
    bool isKnown = false;
    for (const DitherChoice choice :
         {DitherChoice::None, DitherChoice::Triangular, DitherChoice::HighPass}) {
        if (dither != host::DitherName(choice)) continue;
        noise.dither = choice;
        isKnown = true;
    }
    if (!isKnown) {
        throw host::UsageError("dither: " + host::Quoted(dither) +
                               " is not none, triangular or highpass");
    }
    if (seed.is_none()) {
        noise.seed = 0;
        return noise;
    }
    const auto number = seed.cast<long long>();
    if (number < 1 || number > std::numeric_limits<std::uint32_t>::max()) {
        throw host::UsageError("seed must be from 1 to 4294967295, or None for a random seed");
    }
    noise.seed = static_cast<unsigned int>(number);
    return noise;
}

std::string PositionText(const py::object& position, const char* name) {
    if (position.is_none()) return {};
    if (py::isinstance<py::str>(position)) return position.cast<std::string>();
    if (PyIndex_Check(position.ptr()) == 0) {
        throw py::type_error(std::string(name) +
                             " must be a number of samples, a text or None, not " +
                             TypeName(position));
    }
    const auto samples = py::int_(position).cast<long long>();
    if (samples < 0) {
        throw host::UsageError(std::string(name) + " must be 0 or more, and is " +
                               std::to_string(samples));
    }
    return std::to_string(samples) + "smp";
}

StereoArray OutputArray(const py::object& array, long long frames) {
    if (!py::isinstance<StereoArray>(array)) {
        throw host::UsageError("out must be an int16 array of shape (frames, 2)");
    }
    auto samples = py::reinterpret_borrow<StereoArray>(array);
    if (samples.ndim() != 2 || samples.shape(1) != SIDES || samples.shape(0) != frames) {
        throw host::UsageError("out must have the shape (" + std::to_string(frames) +
                               ", 2) for this range");
    }
    if (!samples.writeable() || (samples.flags() & py::array::c_style) == 0) {
        throw host::UsageError("out must be a writeable array in C order");
    }
    return samples;
}

StereoArray NewStereoArray(long long frames) {
    return StereoArray({static_cast<py::ssize_t>(frames), SIDES});
}

StereoArray InputArray(const py::array& array) {
    py::array frames = array;
    if (frames.ndim() == 1) frames = frames.attr("reshape")(-1, 1).cast<py::array>();
    if (frames.ndim() != 2 || frames.shape(1) < 1 || frames.shape(1) > SIDES) {
        throw host::UsageError(
            "an array of samples must have the shape (frames,), (frames, 1) or (frames, 2)");
    }
    if (frames.shape(0) == 0) throw host::UsageError("an array of samples must not be empty");
    if (frames.dtype().kind() == 'f') return FromFloats(frames);
    if (frames.dtype().is(py::dtype::of<short>())) return FromIntegers(frames);
    throw host::UsageError("samples must be int16, or floats with full scale 1.0");
}

}  // namespace orlo::python
