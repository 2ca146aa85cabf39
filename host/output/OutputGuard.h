// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/output/FileIdentity.h"
#include "host/output/OutputTarget.h"

namespace orlo::host {

/// The files that a command reads or owns, and the outputs that it writes. No output may replace
/// one of these files or another output.
///
/// Files are compared by identity, which covers symbolic links, hard links and other spellings. A
/// protected file is also compared by its folder and name, because the database library deletes and
/// creates files of the database while the command runs.
///
/// Threads: a single thread at a time.
class OutputGuard {
public:
    /// @param overwrite  whether an output may replace a write-protected file
    explicit OutputGuard(bool overwrite) : overwrite_(overwrite) {}
    OutputGuard(const OutputGuard&) = delete;
    OutputGuard& operator=(const OutputGuard&) = delete;

    /// Protects a file, which need not exist.
    /// @param role  completes "the output is": "the timeline"
    void Protect(const std::string& path, const std::string& role);

    /// Adds an output of the command. All outputs are claimed before the first is opened.
    /// @throws UsageError for a protected file or another output; JobError for a name that may not
    ///         be written
    void Claim(const std::string& output);

    /// Adds standard output as an output of the command. @throws UsageError for a protected file
    void ClaimStandardOutput();

    /// The target of a claimed output. @throws as in Claim
    OutputTarget Open(const std::string& output) const;

    /// The target of an output, immediately before the finished file is moved to its name. A file
    /// that appeared under the name since Open is checked too.
    /// @throws as in Claim, and JobError when the name has another target than at the start
    OutputTarget Confirm(const std::string& output, const OutputTarget& opened);

private:
    struct Entry {
        std::string path;
        std::string role;
        bool isOutput = false;
    };

    void Add(const Entry& entry);
    void Index(std::size_t entry);
    void RequireFree(const std::string& output, const OutputTarget& target) const;
    const Entry* Find(const OutputTarget& target) const;

    bool overwrite_;
    std::vector<Entry> entries_;
    /// The first entry of each file. A file stays protected when its name changes.
    std::map<FileIdentity, std::size_t> identities_;
    /// The first entry of each protected name and of each output without a file.
    std::unordered_map<std::string, std::size_t> names_;
};

}  // namespace orlo::host
