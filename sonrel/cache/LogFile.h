// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/base/Export.h"

namespace orlo::project {

struct LogFileImpl;

/// The text log of errors in the media caches: one line for each message, starting with the local
/// date and time.
///
/// The file is opened and closed for every line and never truncated. A line that cannot be written
/// is dropped silently.
///
/// Threads: any. The lines of one object are whole; two objects on one path have no common lock.
class SONREL_EXPORT LogFile {
public:
    /// Stores the path. The file is not opened before the first line.
    explicit LogFile(const std::wstring& path);
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    /// Appends "[dd.MM.yy] [hh.mm] message" and a line feed. With an empty path nothing is written.
    ///
    /// A control character in the message is written as text, so that each message is one line:
    /// "\n", "\r", "\t", and the others as "\u" with four hexadecimal digits.
    void Write(const std::wstring& message);

private:
    std::unique_ptr<LogFileImpl> impl_;
};

}  // namespace orlo::project
