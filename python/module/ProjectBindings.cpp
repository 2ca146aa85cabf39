// SPDX-License-Identifier: MIT
#include <pybind11/stl.h>

#include "host/shell/Text.h"
#include "python/module/Arguments.h"
#include "python/module/Bindings.h"

namespace py = pybind11;

namespace orlo::python {

namespace {

using ProjectPtr = std::shared_ptr<Project>;
using CancelPtr = std::shared_ptr<Cancellation>;

/// A track of a project. Tracks are never removed, so that the number stays valid.
struct TrackHandle {
    ProjectPtr project;
    std::size_t index = 0;

    const host::otio::PlacedTrack& Placed() const {
        return project->Arrangement().tracks.at(index);
    }
};

/// @throws UsageError when the range is empty
zrtl::FrameRange SpanOf(const Project& project, const py::object& start, const py::object& stop) {
    const long long total = project.SampleCount();
    if (total == 0) {
        throw host::JobError("the project " + host::Quoted(project.Name()) +
                             " has no length: there is nothing to mix");
    }
    return host::ParseSpan(PositionText(start, "start"), PositionText(stop, "stop"), project.Grid(),
                           total);
}

void Prepare(const ProjectPtr& project, const py::object& progress, CancelPtr cancel) {
    const Controls controls = ControlsOf(progress, std::move(cancel));
    Run(controls, [&](host::Progress& shown) {
        const Session::Use use(*project->GetSession());
        project->Prepare(use, shown);
    });
}

StereoArray Mix(const ProjectPtr& project, const py::object& start, const py::object& stop,
                const py::object& out, const std::string& dither, const py::object& seed,
                const py::object& progress, CancelPtr cancel) {
    const zrtl::FrameRange span = SpanOf(*project, start, stop);
    const NoiseChoice noise = NoiseOf(dither, seed);
    const Controls controls = ControlsOf(progress, std::move(cancel));
    StereoArray samples =
        out.is_none() ? NewStereoArray(span.Count()) : OutputArray(out, span.Count());
    short* const data = samples.mutable_data();
    Run(controls, [&](host::Progress& shown) {
        const Session::Use use(*project->GetSession());
        project->Mix(use, span, noise, data, shown);
    });
    return samples;
}

Levels Measure(const ProjectPtr& project, const py::object& start, const py::object& stop,
               const py::object& out, const std::string& dither, const py::object& seed,
               const py::object& progress, CancelPtr cancel) {
    const zrtl::FrameRange span = SpanOf(*project, start, stop);
    const NoiseChoice noise = NoiseOf(dither, seed);
    const Controls controls = ControlsOf(progress, std::move(cancel));
    StereoArray samples;
    short* data = nullptr;
    if (!out.is_none()) {
        samples = OutputArray(out, span.Count());
        data = samples.mutable_data();
    }
    Levels levels;
    Run(controls, [&](host::Progress& shown) {
        const Session::Use use(*project->GetSession());
        levels = project->Measure(use, span, noise, data, shown);
    });
    return levels;
}

void Close(const ProjectPtr& project) {
    const py::gil_scoped_release released;
    project->Close();
}

py::list ReportOf(const Project& project) {
    py::list list;
    for (const host::otio::ImportReport::Entry& entry : project.Report()) {
        py::dict item;
        item["what"] = entry.what;
        item["where"] = entry.where;
        item["reason"] = entry.reason;
        item["count"] = entry.count;
        list.append(item);
    }
    return list;
}

py::list TracksOf(const ProjectPtr& project) {
    py::list tracks;
    for (std::size_t i = 0; i < project->Arrangement().tracks.size(); ++i) {
        tracks.append(TrackHandle{project, i});
    }
    return tracks;
}

void AddClip(const TrackHandle& track, const py::object& media, int start, int frames,
             int sourceStart, const std::string& name, std::optional<float> gainDb,
             std::optional<int> stream, const std::optional<std::string>& channels) {
    NewClip clip;
    clip.media = PathOf(media);
    clip.sound = SoundOf(stream, channels);
    clip.name = name.empty() ? clip.media : name;
    clip.startFrame = start;
    clip.frameCount = frames;
    clip.sourceStartFrame = sourceStart;
    clip.gainDb = gainDb;
    track.project->AddClip(track.index, clip);
}

void DeclareTrack(py::module_& module) {
    py::class_<TrackHandle>(module, "Track", "A track of a project.")
        .def_property_readonly(
            "name", [](const TrackHandle& track) { return track.Placed().name; },
            "The name of the track.")
        .def_property_readonly(
            "clips", [](const TrackHandle& track) { return track.Placed().clips.size(); },
            "The number of clips and nested items.")
        .def_property(
            "muted", [](const TrackHandle& track) { return track.Placed().muted; },
            [](const TrackHandle& track, bool muted) {
                track.project->SetMuted(track.index, muted);
            },
            "Whether the track is silent. An edit while an operation uses the project is refused.")
        .def("add_clip", &AddClip, py::arg("media"), py::arg("start"), py::arg("frames"),
             py::kw_only(), py::arg("source_start") = 0, py::arg("name") = "",
             py::arg("gain_db") = py::none(), py::arg("stream") = py::none(),
             py::arg("channels") = py::none(), R"(Adds a clip of a media file.

The clip covers `frames` frames of the project from `start` on, and begins `source_start` frames
after the beginning of the media file. The file is opened by the next operation. Two clips of
one track must not overlap.

>>> track = session.new_project(fps=25).add_track("dialogue")
>>> track.add_clip("take.wav", 0, 50, name="one")
>>> track.add_clip("take.wav", 49, 10)
Traceback (most recent call last):
sonrel.UsageError: the clip at frames 49 to 59 overlaps the clip 'one' at frames 0 to 50; ...
)")
        .def("__repr__", [](const TrackHandle& track) {
            return "<sonrel.Track " + host::Quoted(track.Placed().name) + ">";
        });
}

}  // namespace

void DeclareProject(py::module_& module) {
    DeclareTrack(module);
    py::class_<Project, ProjectPtr>(module, "Project", R"(A timeline that was opened or built.

`sonrel.open` and `Session.open` open a timeline, `Session.new_project` makes an empty project.
Positions and lengths are in samples: frames of one left and one right value.)")
        .def_property_readonly("name", &Project::Name, "The name of the timeline.")
        .def_property_readonly(
            "rate", [](const Project& project) { return project.Grid().rate; },
            "The sample rate in hertz.")
        .def_property_readonly(
            "fps", [](const Project& project) { return project.Grid().fps; },
            "The frame rate in frames a second.")
        .def_property_readonly("sample_count", &Project::SampleCount, "The length in samples.")
        .def("__len__", &Project::SampleCount)
        .def_property_readonly(
            "duration",
            [](const Project& project) {
                return static_cast<double>(project.SampleCount()) / project.Grid().rate;
            },
            "The length in seconds.")
        .def_property_readonly("tracks", &TracksOf, "The tracks, in the order of the mix.")
        .def_property_readonly("media", &Project::Media,
                               "The paths of the media files of all clips, each once.")
        .def_property_readonly("report", &ReportOf,
                               R"(The parts of the timeline that the mix leaves out or changes.

Each entry is a dict with "what", "where", "reason" and "count". After `prepare` or a mix the
list also has the clips that are longer than their media files.)")
        .def_property_readonly("session", &Project::GetSession,
                               "The session that the project uses.")
        .def(
            "timecode",
            [](const Project& project, long long sample) {
                return host::FormatTimecode(sample, project.Grid());
            },
            py::arg("sample"), "The timecode of a position in samples.")
        .def(
            "add_track",
            [](const ProjectPtr& project, const std::string& name, std::optional<float> gainDb) {
                return TrackHandle{project, project->AddTrack(name, gainDb)};
            },
            py::arg("name") = "", py::kw_only(), py::arg("gain_db") = py::none(),
            "Adds an empty track and returns it.")
        .def("prepare", &Prepare, py::kw_only(), py::arg("progress") = py::none(),
             py::arg("cancel") = py::none(), R"(Conforms the media files.

A mix does the same first, when it was not done before.)")
        .def("mix", &Mix, py::arg("start") = 0, py::arg("stop") = py::none(), py::kw_only(),
             py::arg("out") = py::none(), py::arg("dither") = "highpass", py::arg("seed") = 1,
             py::arg("progress") = py::none(), py::arg("cancel") = py::none(),
             R"(Mixes a range and returns an int16 array of shape (frames, 2).

`start` and `stop` are samples, or texts as the program accepts them: "12.5s", "300f" or a
timecode. A `stop` beyond the end is the end. With `out`, an array of the same type and of the
length of the range, the samples are written to it and it is returned. The samples are those of
`sonrel mix` with the same `dither` ("none", "triangular" or "highpass") and `seed`; the seed
None is random.

>>> project = session.open("edit.otio")
>>> samples = project.mix("0.5s", "1s")
>>> samples.shape, samples.dtype
((24000, 2), dtype('int16'))
)")
        .def("measure", &Measure, py::arg("start") = 0, py::arg("stop") = py::none(), py::kw_only(),
             py::arg("out") = py::none(), py::arg("dither") = "highpass", py::arg("seed") = 1,
             py::arg("progress") = py::none(), py::arg("cancel") = py::none(),
             R"(Mixes a range and returns its levels. Takes the arguments of `mix`.

>>> levels = session.open("edit.otio").measure()
>>> [track.name for track in levels.tracks]
['A1']
>>> levels.master.peak.shape
(20, 2)
)")
        .def("close", &Close, R"(Closes the session of a project that `sonrel.open` opened.

A project of `Session.open` is closed with its session. A `with` statement closes the project.)")
        .def("__enter__", [](const ProjectPtr& project) { return project; })
        .def("__exit__", [](const ProjectPtr& project, const py::args&) { Close(project); })
        .def("__repr__", [](const Project& project) {
            return "<sonrel.Project " + host::Quoted(project.Name()) + ", " +
                   std::to_string(project.SampleCount()) + " samples at " +
                   std::to_string(project.Grid().rate) + " Hz>";
        });
}

}  // namespace orlo::python
