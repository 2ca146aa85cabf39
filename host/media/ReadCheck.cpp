// SPDX-License-Identifier: MIT
#include "host/media/ReadCheck.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <vector>

#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "sonrel/base/Paths.h"

namespace orlo::host {

namespace {

using sonrel::FailedRead;
using sonrel::ReadFailure;

std::string ReasonOf(const FailedRead& read) {
    if (read.systemError != 0) return std::strerror(read.systemError);
    if (read.reason == ReadFailure::CannotOpen) return "it is not a complete conformed file";
    return "it was truncated or replaced";
}

const char* RemedyOf(const FailedRead& read) {
    if (read.systemError == EMFILE) return "allow more open files with 'ulimit -n'";
    return "try again, or recreate it with 'sonrel conform --force'";
}

}  // namespace

std::string ReadCheck::ErrorMessage() const {
    const std::vector<FailedRead> failed = mixer_.FailedReadsSince(mark_);
    if (failed.empty()) return {};
    const FailedRead& first = failed.front();
    return "cannot read the sound of " + Quoted(zrtl::ToUtf8(first.mediaPath)) + " at " +
           FormatTimecode(first.timelineSample, grid_) + " from its conformed file " +
           Quoted(zrtl::ToUtf8(first.conformedPath)) + ": " + ReasonOf(first) + "; " +
           RemedyOf(first);
}

std::string ReadCheck::Notice() const {
    const std::vector<FailedRead> failed = mixer_.FailedReadsSince(mark_);
    if (failed.empty()) return {};
    const std::filesystem::path media = zrtl::ToUtf8(failed.front().mediaPath);
    return "read error at " + FormatTimecode(failed.front().timelineSample, grid_) + ": " +
           Quoted(media.filename().string());
}

void ReadCheck::RequireAll() const {
    const std::string message = ErrorMessage();
    if (!message.empty()) throw JobError(message);
}

}  // namespace orlo::host
