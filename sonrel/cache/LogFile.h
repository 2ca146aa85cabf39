// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>

#include "sonrel/base/Export.h"

namespace orlo::project {

struct LogFileImpl;

/// The text log of what goes wrong in the media caches: one line a message, with the local date and
/// time in front.
///
/// The file is opened and closed for every line and never cut; a line that cannot be written is
/// dropped without a trace.
///
/// Threads: any. The lines of one object are whole; two objects on one path have no common lock.
class SONREL_EXPORT LogFile {
public:
    /// Remembers the path. The file is not touched before the first line.
    explicit LogFile(const std::wstring& path);
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    /// Appends "[dd.MM.yy] [hh.mm] message" and a line feed. An empty path writes nothing.
    ///
    /// A control character in the message is written as text, so that each message is one line:
    /// "\n", "\r", "\t", and the others as "\u" with four hexadecimal digits.
    void Write(const std::wstring& message);

private:
    std::unique_ptr<LogFileImpl> impl_;
};

}  // namespace orlo::project
