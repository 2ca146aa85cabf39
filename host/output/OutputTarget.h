// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "host/output/FileIdentity.h"

namespace orlo::host {

/// The place that the name of an output leads to.
struct OutputTarget {
    enum class Kind {
        File,    ///< a regular file, or a free name
        Device,  ///< a character device, or a block device that may be overwritten
        Pipe,
    };

    Kind kind = Kind::File;
    std::string path;                      ///< of a file: with links followed
    std::optional<FileIdentity> identity;  ///< of the existing file; empty for a free name
    std::optional<int> permissions;        ///< of the file that is there
};

/// Follows the name of an output.
/// @param overwrite  whether a write-protected file may be replaced and a block device written
/// @throws JobError for a name that may not be written: a folder, a link to a file that does not
///         exist, a file without the write permission of its owner, a socket
OutputTarget FindOutputTarget(const std::string& output, bool overwrite);

/// "cannot write 'NAME': " with the system's reason and advice.
/// @param error  an errno, or 0 where the system reported none
[[noreturn]] void ThrowWriteError(const std::string& output, int error);

}  // namespace orlo::host
