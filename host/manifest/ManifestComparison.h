// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/json/Json.h"

namespace orlo::host {

/// A difference between two manifests of a mix.
struct ManifestChange {
    std::string what;  ///< manifest, version, timeline, media, options, samples, stems or levels
    std::string key;   ///< the first key with another value: "mix.seed"
    std::string text;  ///< a clause for people
    Json recorded;     ///< null where the manifest has no value
    Json found;        ///< null where the new mix has no value
};

/// Compares a manifest with that of a new mix, the causes first. Paths, sizes and fingerprints are
/// not compared: a moved or copied file is the same file.
/// @param recorded  read from a file
/// @param found     of the new mix
std::vector<ManifestChange> CompareManifests(const Json& recorded, const Json& found);

/// The key of the first value that differs between two values, in the order of the keys; empty when
/// they are equal.
/// @param key  key of the values
std::string FirstDifference(const Json& one, const Json& other, const std::string& key);

}  // namespace orlo::host
