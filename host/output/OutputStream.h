// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "host/output/OutputTarget.h"

namespace orlo::host {

/// A device or a pipe. Bytes are written in order and cannot be replaced.
class OutputStream {
public:
    /// Opens the device, or waits for a reader and opens the pipe.
    /// @param target  a device or a pipe
    /// @param label   name of the output in messages
    /// @throws JobError; CommandError when the program is asked to stop
    OutputStream(const OutputTarget& target, std::string label);
    /// Takes a descriptor whose writes may block.
    /// @throws JobError for a descriptor that is not open
    OutputStream(int descriptor, std::string label);
    ~OutputStream();
    OutputStream(const OutputStream&) = delete;
    OutputStream& operator=(const OutputStream&) = delete;

    /// Writes all bytes; waits for a slow reader. @throws as in the constructor
    void Write(std::string_view bytes);

    /// @throws JobError
    void Close();

private:
    bool WaitForRoom() const;

    std::string label_;
    int descriptor_ = -1;
    const bool blocks_;
};

}  // namespace orlo::host
