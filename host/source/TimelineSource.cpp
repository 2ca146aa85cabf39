// SPDX-License-Identifier: MIT
#include "host/source/TimelineSource.h"

#include <filesystem>

#include "host/otio/TimelinePath.h"
#include "host/shell/Errors.h"
#include "host/shell/TemporaryFolder.h"
#include "host/shell/Text.h"
#include "host/source/TimelineArchive.h"
#include "host/source/TimelineConversion.h"

namespace orlo::host {

namespace {

/// The folder with the content of a timeline in an archive. It is unpacked once, and only where its
/// files are temporary.
std::string UnpackedFolder(const std::string& input, const GlobalOptions& global) {
    if (global.spool.folder.empty()) {
        throw JobError("cannot read the timeline " + Quoted(input) +
                       ": it is an archive; unpack it to an .otiod folder");
    }
    std::string folder = global.spool.FolderOf(input);
    std::error_code error;
    if (std::filesystem::exists(folder, error)) return folder;
    const std::string partial = folder + ".part";
    // Unpacking fails when a file stays: it writes new files only.
    std::filesystem::remove_all(partial, error);
    Progress progress(global.progress, global.quiet);
    UnpackTimeline(input, partial, global.spoolLimit, progress);
    std::filesystem::rename(partial, folder, error);
    if (error) throw JobError("cannot rename " + Quoted(partial) + ": " + error.message());
    return folder;
}

/// The times of an EDL are timecodes, whose rate it does not contain.
void NoteAssumedRate(otio::ImportReport& report) {
    report.Add("frame rate", {},
               "an EDL has no frame rate, and otioconvert assumes one; set it with --fps");
}

otio::TimelineImport ImportConverted(const std::string& input, const GlobalOptions& global,
                                     otio::ImportOptions options) {
    const TemporaryFolder folder;
    const std::string converted = folder.Path() + "/converted.otio";
    ConvertTimeline(input, converted, global.fps);
    options.folder = std::filesystem::path(otio::TimelineFile(input)).parent_path().string();
    otio::TimelineImport import = otio::ImportTimeline(converted, options);
    const bool isEdl = otio::FormatOf(input) == otio::TimelineFormat::Edl;
    if (isEdl && !global.fps) NoteAssumedRate(import.report);
    return import;
}

}  // namespace

std::string DocumentOf(const std::string& input, const GlobalOptions& global) {
    const bool isArchive = otio::FormatOf(input) == otio::TimelineFormat::Otioz;
    return otio::TimelineFile(isArchive ? global.spool.FolderOf(input) : input);
}

otio::TimelineImport ImportInput(const std::string& input, const GlobalOptions& global,
                                 const otio::ImportOptions& options) {
    switch (otio::FormatOf(input)) {
        case otio::TimelineFormat::Otioz:
            return otio::ImportTimeline(UnpackedFolder(input, global), options);
        case otio::TimelineFormat::Edl:
        case otio::TimelineFormat::FinalCut7:
        case otio::TimelineFormat::FinalCutX:
        case otio::TimelineFormat::FinalCutXFolder:
            return ImportConverted(input, global, options);
        default:
            return otio::ImportTimeline(input, options);
    }
}

}  // namespace orlo::host
