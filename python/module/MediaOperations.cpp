// SPDX-License-Identifier: MIT
#include "python/module/MediaOperations.h"

#include <pybind11/stl.h>

#include <map>

#include "host/shell/Errors.h"
#include "host/shell/TemporaryFolder.h"
#include "host/shell/Text.h"
#include "python/module/Arguments.h"
#include "python/module/MediaResults.h"

namespace py = pybind11;

namespace orlo::python {

namespace {

using SessionPtr = std::shared_ptr<Session>;
using CancelPtr = std::shared_ptr<Cancellation>;
using sonrel::WaveformPreview;

/// The file names of the arrays of an alignment, as messages show them.
constexpr const char* FIRST_ARRAY = "/first-array.wav";
constexpr const char* SECOND_ARRAY = "/second-array.wav";

std::vector<ConformedSound> ConformInputs(const SessionPtr& session, const py::object& inputs,
                                          std::optional<int> rate, const py::object& mediaRoot,
                                          bool allowMissing, std::optional<int> stream,
                                          const std::optional<std::string>& channels, int jobs,
                                          bool force, const py::object& progress,
                                          CancelPtr cancel) {
    std::vector<std::string> paths;
    if (py::isinstance<py::str>(inputs) || py::hasattr(inputs, "__fspath__")) {
        paths.push_back(PathOf(inputs));
    } else {
        for (const py::handle& input : inputs) paths.push_back(PathOf(input));
    }
    host::GlobalOptions options = session->Options();
    if (rate) options.rate = RateOf(*rate);
    options.mediaRoots = MediaRootsOf(mediaRoot);
    options.allowMissing = allowMissing;
    if (jobs < 1) throw host::UsageError("jobs must be 1 or more");
    const ConformRequest request{std::move(paths), SoundOf(stream, channels), jobs, force};
    const Controls controls = ControlsOf(progress, std::move(cancel));
    std::vector<ConformedSound> sounds;
    Run(controls, [&](host::Progress& shown) {
        const Session::Use use(*session);
        sounds = Conform(use, options, request, shown);
    });
    return sounds;
}

py::array Read(const SessionPtr& session, const py::object& media, const py::object& start,
               const py::object& stop, int rate, std::optional<int> stream,
               const std::optional<std::string>& channels, const py::object& progress,
               CancelPtr cancel) {
    const MediaSound sound{PathOf(media), SoundOf(stream, channels)};
    std::string from = PositionText(start, "start");
    std::string to = PositionText(stop, "stop");
    const ReadRange range{RateOf(rate), std::move(from), std::move(to)};
    const Controls controls = ControlsOf(progress, std::move(cancel));
    std::vector<short> samples;
    Run(controls, [&](host::Progress& shown) {
        const Session::Use use(*session);
        samples = ReadSound(use, sound, range, shown);
    });
    const auto frames = static_cast<py::ssize_t>(samples.size() / 2);
    return ArrayOf(std::move(samples), py::dtype::of<short>(), {frames, 2});
}

PeakArrays PeaksOf(const SessionPtr& session, const py::object& media, int samplesPerPoint,
                   std::optional<int> stream, const std::optional<std::string>& channels,
                   const py::object& progress, CancelPtr cancel) {
    const MediaSound sound{PathOf(media), SoundOf(stream, channels)};
    const Controls controls = ControlsOf(progress, std::move(cancel));
    Peaks peaks;
    Run(controls, [&](host::Progress& shown) {
        const Session::Use use(*session);
        peaks = ReadPeaks(use, sound, samplesPerPoint, shown);
    });
    const auto points = static_cast<py::ssize_t>(peaks.rms.size());
    const auto channelCount = static_cast<py::ssize_t>(peaks.channels);
    return {
        peaks.rate, peaks.samplesPerPoint,
        ArrayOf(std::move(peaks.peaks), py::dtype::of<signed char>(), {points, channelCount, 2}),
        ArrayOf(std::move(peaks.rms), py::dtype::of<unsigned char>(), {points})};
}

template <class Value>
Value OneOf(const char* argument, const std::string& text,
            const std::map<std::string, Value>& values) {
    const auto found = values.find(text);
    if (found != values.end()) return found->second;
    std::string names;
    for (const auto& [name, value] : values) names += (names.empty() ? "" : ", ") + name;
    throw host::UsageError(std::string(argument) + ": " + host::Quoted(text) + " is none of " +
                           names);
}

py::array Waveform(const SessionPtr& session, const py::object& media, int width, int height,
                   const std::string& range, const std::string& style, const std::string& scale,
                   const std::optional<std::string>& color,
                   const std::optional<std::string>& background, std::optional<int> stream,
                   const std::optional<std::string>& channels, const py::object& progress,
                   CancelPtr cancel) {
    const MediaSound sound{PathOf(media), SoundOf(stream, channels)};
    host::WaveformOptions options;
    options.size = host::ParsePictureSize(std::to_string(width) + "x" + std::to_string(height));
    if (!range.empty()) host::CheckStreamRange(range);
    options.range = range;
    options.style =
        OneOf<WaveformPreview::Style>("style", style,
                                      {{"lanes", WaveformPreview::Style::ChannelLanes},
                                       {"overlaid", WaveformPreview::Style::ChannelsOverlaid},
                                       {"rms", WaveformPreview::Style::RMSEnvelope}});
    options.scale = OneOf<WaveformPreview::Scale>(
        "scale", scale,
        {{"linear", WaveformPreview::Scale::Linear}, {"log", WaveformPreview::Scale::Logarithmic}});
    if (color) options.colors = host::ParseColors("color", *color);
    if (background) options.background = host::ParseColor("background", *background);
    const Controls controls = ControlsOf(progress, std::move(cancel));
    Picture picture;
    Run(controls, [&](host::Progress& shown) {
        const Session::Use use(*session);
        picture = DrawSound(use, sound, options, shown);
    });
    return ArrayOf(std::move(picture.bytes), py::dtype::of<unsigned char>(),
                   {picture.height, picture.width, 4});
}

/// A recording of an alignment: the path of a file, or samples.
struct Side {
    std::string path;
    std::optional<StereoArray> samples;
};

Side SideOf(const py::object& recording) {
    if (py::isinstance<py::array>(recording)) {
        return {{}, InputArray(recording.cast<py::array>())};
    }
    return {PathOf(recording), std::nullopt};
}

/// Where the worker finds the samples of an array, without the interpreter lock.
struct RawSide {
    std::string path;
    const short* samples = nullptr;
    long long frames = 0;

    explicit RawSide(const Side& side) : path(side.path) {
        if (!side.samples) return;
        samples = side.samples->data();
        frames = side.samples->shape(0);
    }

    std::string FileIn(const std::string& folder, const char* name, int rate) const {
        if (samples == nullptr) return path;
        WriteWav(folder + name, samples, frames, rate);
        return folder + name;
    }
};

/// Aligns with a cache that exists only for this operation, so that the user's cache has no records
/// of arrays.
AlignedPair AlignArrays(AlignmentTask task, const RawSide& first, const RawSide& second,
                        host::Progress& progress) {
    const host::TemporaryFolder folder;
    task.first = first.FileIn(folder.Path(), FIRST_ARRAY, task.rate);
    task.second = second.FileIn(folder.Path(), SECOND_ARRAY, task.rate);
    host::GlobalOptions options;
    options.spool.folder = folder.Path();
    Session session(options);
    const Session::Use use(session);
    return AlignFiles(use, task, progress);
}

AlignedPair Align(const SessionPtr& session, const py::object& first, const py::object& second,
                  int rate, double minCorrelation, std::optional<int> stream,
                  const std::optional<std::string>& channels, const py::object& progress,
                  CancelPtr cancel) {
    const Side sides[] = {SideOf(first), SideOf(second)};
    const RawSide raw[] = {RawSide(sides[0]), RawSide(sides[1])};
    if (!(minCorrelation >= 0.0 && minCorrelation <= 1.0)) {
        throw host::UsageError("min_correlation must be from 0 to 1");
    }
    const AlignmentTask task{raw[0].path, raw[1].path, SoundOf(stream, channels), RateOf(rate),
                             minCorrelation};
    const bool hasArray = sides[0].samples || sides[1].samples;
    const Controls controls = ControlsOf(progress, std::move(cancel));
    AlignedPair aligned;
    Run(controls, [&](host::Progress& shown) {
        if (hasArray) {
            aligned = AlignArrays(task, raw[0], raw[1], shown);
        } else {
            const Session::Use use(*session);
            aligned = AlignFiles(use, task, shown);
        }
    });
    return aligned;
}

std::vector<host::CacheEntry> CacheEntries(const SessionPtr& session) {
    std::vector<host::CacheEntry> entries;
    Run({py::none(), nullptr}, [&](host::Progress&) {
        const Session::Use use(*session);
        entries = host::TakeInventory(use.Engine().Paths());
    });
    return entries;
}

/// The arguments that every long operation ends with.
#define CONTROL_ARGUMENTS py::arg("progress") = py::none(), py::arg("cancel") = py::none()

}  // namespace

void DeclareMediaOperations(SessionClass& session) {
    session
        .def("conform", &ConformInputs, py::arg("inputs"), py::kw_only(),
             py::arg("rate") = py::none(), py::arg("media_root") = py::none(),
             py::arg("allow_missing") = false, py::arg("stream") = py::none(),
             py::arg("channels") = py::none(), py::arg("jobs") = 1, py::arg("force") = false,
             CONTROL_ARGUMENTS, R"(Conforms media files and the media files of timelines.

Returns one `ConformedFile` for each sound. A file that cannot be conformed has an error there
and stops nothing.

>>> [file.status for file in session.conform(["take.wav", "missing.wav"])]
['found', 'failed']
)")
        .def("read", &Read, py::arg("media"), py::arg("start") = 0, py::arg("stop") = py::none(),
             py::kw_only(), py::arg("rate") = 48000, py::arg("stream") = py::none(),
             py::arg("channels") = py::none(), CONTROL_ARGUMENTS,
             R"(Reads a range of a media file: an int16 array of shape (frames, 2).

The file is conformed to `rate` first. `start` and `stop` are those of `Project.mix`.

>>> session.read("take.wav", 0, "0.5s").shape
(24000, 2)
)")
        .def("peaks", &PeaksOf, py::arg("media"), py::kw_only(), py::arg("samples_per_point") = 256,
             py::arg("stream") = py::none(), py::arg("channels") = py::none(), CONTROL_ARGUMENTS,
             R"(Reads the peaks of a media file. `samples_per_point` is a multiple of 32.

>>> session.peaks("take.wav", samples_per_point=4800).peaks.shape
(20, 2, 2)
)")
        .def("waveform", &Waveform, py::arg("media"), py::kw_only(), py::arg("width") = 1800,
             py::arg("height") = 280, py::arg("range") = "", py::arg("style") = "rms",
             py::arg("scale") = "linear", py::arg("color") = py::none(),
             py::arg("background") = py::none(), py::arg("stream") = py::none(),
             py::arg("channels") = py::none(), CONTROL_ARGUMENTS,
             R"(Draws the waveform of a media file: a uint8 array of shape (height, width, 4).

The values of a pixel are red, green, blue and alpha. The arguments are the options of
`sonrel waveform`.

>>> session.waveform("take.wav", width=200, height=50).shape
(50, 200, 4)
)")
        .def("align", &Align, py::arg("first"), py::arg("second"), py::kw_only(),
             py::arg("rate") = 48000, py::arg("min_correlation") = 0.3,
             py::arg("stream") = py::none(), py::arg("channels") = py::none(), CONTROL_ARGUMENTS,
             R"(Finds the offset between two recordings of one event.

A recording is a media file or an array of samples at `rate`: int16, or floats with full scale
1.0. An array is compared with a temporary cache.

>>> session.align("camera.wav", "recorder.wav")
<sonrel.Alignment aligned, offset 12000 samples>
)")
        .def("cache_entries", &CacheEntries,
             "Lists the files and the records of the cache. Changes neither.");
}

#undef CONTROL_ARGUMENTS

}  // namespace orlo::python
