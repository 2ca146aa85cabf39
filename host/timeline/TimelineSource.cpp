// SPDX-License-Identifier: MIT
#include "host/timeline/TimelineSource.h"

#include <filesystem>

#include "host/otio/TimelinePath.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "host/timeline/TimelineArchive.h"

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
    if (std::filesystem::exists(folder)) return folder;
    const std::string partial = folder + ".part";
    std::filesystem::remove_all(partial);
    Progress progress(global.progress, global.quiet);
    UnpackTimeline(input, partial, global.spoolLimit, progress);
    std::filesystem::rename(partial, folder);
    return folder;
}

}  // namespace

otio::TimelineImport ImportInput(const std::string& input, const GlobalOptions& global,
                                 const otio::ImportOptions& options) {
    const bool isArchive = otio::FormatOf(input) == otio::TimelineFormat::Otioz;
    return otio::ImportTimeline(isArchive ? UnpackedFolder(input, global) : input, options);
}

}  // namespace orlo::host
