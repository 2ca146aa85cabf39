// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

#include "host/output/OutputTarget.h"

namespace orlo::host {

/// A device or a pipe that takes bytes in their order. Written bytes cannot be taken back.
class OutputStream {
public:
    /// Opens the device, or the pipe once a reader has opened it.
    /// @param target  a device or a pipe
    /// @param label   the name in messages
    /// @throws JobError; CommandError when the program is asked to stop
    OutputStream(const OutputTarget& target, std::string label);
    ~OutputStream();
    OutputStream(const OutputStream&) = delete;
    OutputStream& operator=(const OutputStream&) = delete;

    /// Waits for a slow reader. @throws as the constructor
    void Write(std::string_view bytes);

    /// @throws JobError
    void Close();

private:
    void WaitForRoom() const;

    std::string label_;
    int descriptor_ = -1;
};

}  // namespace orlo::host
