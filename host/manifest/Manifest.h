// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/json/Json.h"

/// The manifest of a mix: everything that decides its samples, and their hash. See docs/verify.md.
namespace orlo::host {

/// Version of the format.
constexpr int MANIFEST_FORMAT = 1;

/// The SHA-256 of all members of a manifest except `checksum`, in a form that does not depend on
/// the order of the members and on blanks.
std::string ManifestChecksum(const Json& manifest);

/// A manifest with its members in the order of ReadManifest, for comparisons.
Json NormalizedManifest(const Json& manifest);

/// Reads a manifest and checks the type and the range of every value.
/// @throws JobError with the file and the key
Json ReadManifest(const std::string& path);

/// The path of a file relative to the folder of another file, links resolved.
std::string PathFromFolderOf(const std::string& base, const std::string& path);

/// The INPUT of a manifest: its path relative to the manifest, else the path that the command line
/// of the mix had.
/// @param path  of the manifest
/// @throws JobError when neither exists
std::string InputOfManifest(const Json& manifest, const std::string& path);

}  // namespace orlo::host
