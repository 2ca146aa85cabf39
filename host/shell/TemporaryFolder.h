// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orlo::host {

/// A private folder in $TMPDIR, for files that a command needs only while it runs. It disappears
/// with its content when the object does, and when EndOnInterrupt ends the program.
class TemporaryFolder {
public:
    /// @throws JobError when the folder cannot be created
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& Path() const { return path_; }

private:
    std::string path_;
};

/// Removes the folders of all TemporaryFolder objects. Calls only async-signal-safe functions.
void RemoveTemporaryFolders();

}  // namespace orlo::host
