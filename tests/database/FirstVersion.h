// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

#include "tests/support/Database.h"

namespace sonrel_tests {

/// Creates an empty media database of the first version.
inline void MakeVersion1(const std::filesystem::path& path) {
    RawDatabase(path).Run(R"sql(
PRAGMA journal_mode=WAL;
PRAGMA application_id=1397641804;
PRAGMA user_version=1;
CREATE TABLE conformed_file (
    media_path TEXT NOT NULL, media_fingerprint TEXT NOT NULL, stream_index INTEGER NOT NULL,
    sample_rate INTEGER NOT NULL, cache_filename TEXT NOT NULL, last_use INTEGER NOT NULL,
    PRIMARY KEY (media_path, media_fingerprint, stream_index, sample_rate)) STRICT, WITHOUT ROWID;
CREATE INDEX conformed_file_last_use ON conformed_file (last_use);
CREATE TABLE peak_file (
    media_path TEXT NOT NULL, media_fingerprint TEXT NOT NULL, stream_index INTEGER NOT NULL,
    cache_filename TEXT NOT NULL, last_use INTEGER NOT NULL,
    PRIMARY KEY (media_path, media_fingerprint, stream_index)) STRICT, WITHOUT ROWID;
CREATE INDEX peak_file_last_use ON peak_file (last_use);
CREATE TABLE vfr_cache_file (
    media_path TEXT NOT NULL, media_fingerprint TEXT NOT NULL, stream_index INTEGER NOT NULL,
    cache_filename TEXT NOT NULL, last_use INTEGER NOT NULL,
    PRIMARY KEY (media_path, media_fingerprint, stream_index)) STRICT, WITHOUT ROWID;
CREATE INDEX vfr_cache_file_last_use ON vfr_cache_file (last_use);
)sql");
}

}  // namespace sonrel_tests
