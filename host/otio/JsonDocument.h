// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>

#include "host/json/Json.h"

namespace orlo::host::otio {

/// A timeline that cannot be read. The text names the fault and its position in the file.
class DocumentError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A frame rate and a sample rate that cannot be combined.
class RateError : public DocumentError {
public:
    using DocumentError::DocumentError;
};

/// Reads the JSON of a timeline.
///
/// The bare words NaN, Inf and Infinity, with or without a minus, are not valid JSON and read as
/// null. Members of objects are sorted by name; of equal names the last member counts. Metadata of
/// other programs is dropped during parsing, which keeps the result small. Memory and stack are
/// bounded: nesting deeper than 1000 levels and more than four million values are refused.
/// @param text  the bytes of the file
/// @throws DocumentError with line and column
Json ParseDocument(std::string text);

/// Reads a timeline file of at most 256 MiB.
/// @throws DocumentError also when the file cannot be read
Json ReadDocument(const std::string& path);

}  // namespace orlo::host::otio
