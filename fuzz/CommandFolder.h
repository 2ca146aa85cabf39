// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/Support.h"

namespace sonrel_fuzz {

/// The working folder of one command, with a recording and the files that the command names. The
/// default cache is in it too. It is the working folder of the process while the object exists.
class CommandFolder {
public:
    /// @param content  of the files in.*
    CommandFolder(const std::vector<std::string>& arguments, std::string_view content);
    ~CommandFolder();
    CommandFolder(const CommandFolder&) = delete;
    CommandFolder& operator=(const CommandFolder&) = delete;

    /// Whether the default cache has been made.
    bool HasCache() const;
    /// The files that the command does not name are unchanged.
    void RequireUntouched(const std::vector<std::string>& arguments) const;

private:
    void Write(const std::string& name, std::string_view bytes);

    sonrel_tests::TemporaryFolder folder_;
    std::filesystem::path former_;
    std::map<std::string, std::string> files_;
};

}  // namespace sonrel_fuzz
