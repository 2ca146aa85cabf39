// SPDX-License-Identifier: MIT
#pragma once

#include <exception>
#include <sstream>
#include <string>

#include "sonrel/base/Export.h"

namespace zrh::media {

/// A media file could not be opened.
class SONREL_EXPORT ZRMediaException : public std::exception {
public:
    /// @param code  the result of ZRMediaFileCreate
    explicit ZRMediaException(int code) : code_(code) {
        std::ostringstream text;
        text << "ZRMedia Error " << code << "\n";
        message_ = text.str();
    }

    int Code() const { return code_; }  ///< a MediaError

    /// "ZRMedia Error ", the code in decimal and a line feed.
    const char* what() const noexcept override { return message_.c_str(); }

private:
    int code_;
    std::string message_;
};

}  // namespace zrh::media
