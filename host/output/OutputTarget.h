// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "host/output/FileIdentity.h"

namespace orlo::host {

/// The file, device or pipe of an output's name.
struct OutputTarget {
    enum class Kind {
        File,    ///< a regular file, or a free name
        Device,  ///< a character device, or a block device that may be overwritten
        Pipe,
    };

    Kind kind = Kind::File;
    std::string path;                      ///< for a file: with links resolved
    std::optional<FileIdentity> identity;  ///< of the existing file; unset for a free name
    std::optional<int> permissions;        ///< of the existing file
};

/// Finds the target of an output's name.
/// @param overwrite  whether a write-protected file may be replaced and a block device written
/// @throws JobError for a name that may not be written: a folder, a link to a file that does not
///         exist, a file without the write permission of its owner, a socket
OutputTarget FindOutputTarget(const std::string& output, bool overwrite);

/// Throws a JobError: "cannot write 'NAME': " with the reason of the system and the remedy.
/// @param error  an errno, or 0 when the system reported none
[[noreturn]] void ThrowWriteError(const std::string& output, int error);

}  // namespace orlo::host
