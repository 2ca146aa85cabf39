// SPDX-License-Identifier: MIT
#include <pybind11/stl.h>

#include "host/otio/TimelinePath.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "python/module/Arguments.h"
#include "python/module/Bindings.h"
#include "python/module/MediaOperations.h"

namespace py = pybind11;

namespace orlo::python {

namespace {

using SessionPtr = std::shared_ptr<Session>;
using ProjectPtr = std::shared_ptr<Project>;
using CancelPtr = std::shared_ptr<Cancellation>;

SessionPtr MakeSession(const py::object& cache, const py::object& db, int keepDays, bool log) {
    host::GlobalOptions options;
    if (!cache.is_none()) options.cacheFolder = PathOf(cache);
    if (!db.is_none()) options.databaseFile = PathOf(db);
    if (keepDays < 0) throw host::UsageError("keep_days must be 0 or more");
    options.keepDays = keepDays;
    options.noLog = !log;
    SessionPtr session;
    Run({py::none(), nullptr},
        [&](host::Progress&) { session = std::make_shared<Session>(options); });
    Register(session);
    return session;
}

ProjectPtr Open(const SessionPtr& session, const py::object& timeline, const py::object& mediaRoot,
                bool allowMissing, std::optional<int> rate, const py::object& fps,
                std::optional<int> grid, bool soundFromVideo, CancelPtr cancel) {
    const std::string path = PathOf(timeline);
    if (!host::otio::IsTimelinePath(path)) {
        throw host::UsageError(
            "a timeline is an .otio file, an .otiod folder or, with otioconvert, an .edl, .xml or "
            ".fcpxml file, and " +
            host::Quoted(path) + " is not; read media files with Session.read");
    }
    host::GlobalOptions options = session->Options();
    options.mediaRoots = MediaRootsOf(mediaRoot);
    options.allowMissing = allowMissing;
    if (rate) options.rate = RateOf(*rate);
    SetFps(fps, options);
    if (grid && *grid < 1) throw host::UsageError("grid must be 1 or more");
    options.grid = grid;
    host::ReadingChoice choice;
    if (soundFromVideo) choice.audioFrom = host::otio::AudioFrom::Video;
    ProjectPtr project;
    Run({py::none(), std::move(cancel)},
        [&](host::Progress&) { project = Project::Read(session, path, options, choice); });
    return project;
}

ProjectPtr OpenWithSession(const py::object& timeline, const py::object& cache,
                           const py::object& db, int keepDays, bool log,
                           const py::object& mediaRoot, bool allowMissing, std::optional<int> rate,
                           const py::object& fps, std::optional<int> grid, bool soundFromVideo,
                           CancelPtr cancel) {
    const SessionPtr session = MakeSession(cache, db, keepDays, log);
    ProjectPtr project = Open(session, timeline, mediaRoot, allowMissing, rate, fps, grid,
                              soundFromVideo, std::move(cancel));
    project->OwnSession();
    return project;
}

ProjectPtr NewProject(const SessionPtr& session, const py::object& fps, int rate) {
    host::GlobalOptions options;
    SetFps(fps, options);
    return std::make_shared<Project>(session, options.fps.value_or(25.0), RateOf(rate));
}

void CloseSession(const SessionPtr& session) {
    const py::gil_scoped_release released;
    session->Close();
}

}  // namespace

void DeclareCancellation(py::module_& module) {
    py::class_<Cancellation, CancelPtr>(module, "Cancellation", R"(Stops operations.

Pass the same object as `cancel` to one or more operations. After `cancel()`, which any thread
may call, they raise `Cancelled`.

>>> stop = sonrel.Cancellation()
>>> stop.cancel()
>>> session.read("take.wav", cancel=stop)
Traceback (most recent call last):
sonrel.Cancelled: interrupted: the operation was cancelled before it started
)")
        .def(py::init<>())
        .def("cancel", &Cancellation::Cancel, "Stops the operations.")
        .def_property_readonly("cancelled", &Cancellation::IsCancelled,
                               "Whether `cancel` was called.");
}

void DeclareSession(py::module_& module) {
    SessionClass type(module, "Session", R"(An engine with its cache.

`cache` is the folder of the media cache and `db` the media database; the defaults are those of the
program. Cache files that were not used for `keep_days` days are deleted at the end of the session.
Without `log` the errors of the cache are not written to its log.

Operations of several threads on one session run one after another. Every operation releases the
interpreter lock. `progress` is called with the step, the finished units, all units and the file
name; it cannot use the same session. A `with` statement closes the session.

>>> session.closed
False
)");
    type.def(py::init(&MakeSession), py::arg("cache") = py::none(), py::arg("db") = py::none(),
             py::kw_only(), py::arg("keep_days") = 30, py::arg("log") = true)
        .def("open", &Open, py::arg("timeline"), py::kw_only(), py::arg("media_root") = py::none(),
             py::arg("allow_missing") = false, py::arg("rate") = py::none(),
             py::arg("fps") = py::none(), py::arg("grid") = py::none(),
             py::arg("sound_from_video") = false, py::arg("cancel") = py::none(),
             R"(Opens an OpenTimelineIO timeline and its media files.

The timeline is an `.otio` file or an `.otiod` folder; with the program `otioconvert` also an
`.edl`, `.xml` or `.fcpxml` file. Unpack an `.otioz` archive to an `.otiod` folder.

The arguments are the options of the program with the same names; `media_root` is a dict from
old to new folders.

>>> session.open("edit.otio")
<sonrel.Project 'edit', 96000 samples at 48000 Hz>
>>> session.open("missing.otio")
Traceback (most recent call last):
sonrel.SonrelError: cannot read the timeline 'missing.otio': No such file or directory
)")
        .def("new_project", &NewProject, py::kw_only(), py::arg("fps") = 25,
             py::arg("rate") = 48000, "Makes an empty project.")
        .def("close", &CloseSession,
             R"(Ends the session: waits for its running operation and deletes old cache files.

Operations on a closed session, and on its projects, raise `SonrelError`. Arrays stay valid.)")
        .def_property_readonly(
            "closed", [](const Session& session) { return !session.IsOpen(); },
            "Whether the session is closed, or was opened in another process.")
        .def("__enter__", [](const SessionPtr& session) { return session; })
        .def("__exit__", [](const SessionPtr& session, const py::args&) { CloseSession(session); });
    DeclareMediaOperations(type);
    module.def("open", &OpenWithSession, py::arg("timeline"), py::kw_only(),
               py::arg("cache") = py::none(), py::arg("db") = py::none(), py::arg("keep_days") = 30,
               py::arg("log") = true, py::arg("media_root") = py::none(),
               py::arg("allow_missing") = false, py::arg("rate") = py::none(),
               py::arg("fps") = py::none(), py::arg("grid") = py::none(),
               py::arg("sound_from_video") = false, py::arg("cancel") = py::none(),
               R"(Opens a timeline with a separate session.

Takes the arguments of `Session` and of `Session.open`. Close the project, or use a `with`
statement.

>>> with sonrel.open("edit.otio", cache="cache", db="media.db") as project:
...     project.duration
2.0
)");
}

}  // namespace orlo::python
