// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>

#include "host/json/Json.h"

namespace orlo::host::otio {

/// A timeline that cannot be read: what is wrong and where in the file.
class DocumentError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A frame rate and a sample rate that do not go together.
class RateError : public DocumentError {
public:
    using DocumentError::DocumentError;
};

/// Reads the JSON of a timeline.
///
/// Numbers that JSON does not know, the bare words NaN, Inf and Infinity with or without a minus,
/// read as null. Members of objects are sorted by name; of equal names the last one counts.
/// Metadata of other programs is dropped on the way, so that the result stays small.
/// Hostile input costs bounded memory and stack: nesting deeper than 1000 levels and more than four
/// million values are refused.
/// @param text  the bytes of the file, taken over
/// @throws DocumentError with line and column
Json ParseDocument(std::string text);

/// Reads a timeline file of at most 256 MiB.
/// @throws DocumentError also when the file cannot be read
Json ReadDocument(const std::string& path);

}  // namespace orlo::host::otio
