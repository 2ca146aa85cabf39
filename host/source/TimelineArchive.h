// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "host/shell/Progress.h"

namespace orlo::host {

/// Limits of the names in an archive, against damaged and malicious files.
constexpr std::size_t MAX_ARCHIVE_FILES = 65536;
constexpr std::size_t MAX_ARCHIVE_DEPTH = 32;

/// The files of an archive together may have this number of bytes at any compression, and above it
/// this number of times the bytes of the archive. Sound and video are compressed far less.
constexpr std::uint64_t FREE_ARCHIVE_BYTES = 64 << 20;
constexpr std::uint64_t MAX_ARCHIVE_RATIO = 100;

/// Unpacks an .otioz, a timeline in a ZIP archive with its media files. The unpacked folder has the
/// content of an .otiod folder. Nothing is written before every name and size is checked, and
/// nothing outside the folder.
/// @param input     the archive
/// @param folder    created; its parent must exist
/// @param limit     maximum size of all files together, in bytes
/// @param progress  shows the unpacking
/// @throws JobError for an archive that is damaged, encrypted, too large or compressed too much, or
///         that has links, equal names, or names that lead out of the folder; CommandError when the
///         program is asked to stop
void UnpackTimeline(const std::string& input, const std::string& folder, long long limit,
                    Progress& progress);

}  // namespace orlo::host
