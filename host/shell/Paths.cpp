// SPDX-License-Identifier: MIT
#include "host/shell/Paths.h"

#include <filesystem>
#include <stdexcept>

#include "host/shell/Errors.h"
#include "host/shell/Text.h"
#include "sonrel/base/Paths.h"

namespace orlo::host {

namespace fs = std::filesystem;

std::wstring WidePath(const std::string& path) {
    try {
        return zrtl::FromUtf8(path);
    } catch (const std::invalid_argument&) {
        throw JobError("the name " + Quoted(path) + " is not valid UTF-8; rename the file");
    }
}

std::string AbsolutePath(const std::string& path) {
    return fs::absolute(path).lexically_normal().string();
}

}  // namespace orlo::host
