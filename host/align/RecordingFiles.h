// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <vector>

namespace orlo::host {

/// The recordings in folders and among files.
struct RecordingFiles {
    std::vector<std::string> recordings;        ///< each file once, in the order of the inputs
    std::map<std::string, std::string> errors;  ///< recordings that cannot be read, with the reason
    std::vector<std::string> ignored;           ///< other files and folders in the folders
};

/// Collects the recordings of inputs.
///
/// A folder is searched with its sub-folders, in the byte order of the names. A file in it is a
/// recording if its extension, in upper or lower case, is that of a sound or picture file. Every
/// other file is ignored, and so are timelines and links to folders. Names that begin with a dot
/// are skipped. An input that is not a folder is a recording with any name. A folder that cannot be
/// read is a recording with an error.
/// @throws CommandError when the program is asked to stop
RecordingFiles FindRecordings(const std::vector<std::string>& inputs);

}  // namespace orlo::host
