// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QCryptographicHash>
#include <functional>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <string_view>

#include "tests/host/ProgramRun.h"

/// Manifests of mixes, as docs/verify.md describes them.
namespace sonrel_tests {

inline std::string Sha256Of(std::string_view bytes) {
    const QByteArray content(bytes.data(), static_cast<int>(bytes.size()));
    return QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex().toStdString();
}

/// Whether a changed manifest gets the checksum of its new content.
enum class Seal { Kept, Renewed };

inline nlohmann::json ReadManifestFile(const std::filesystem::path& path) {
    return nlohmann::json::parse(ReadFile(path));
}

inline void EditManifest(const std::filesystem::path& path, Seal seal,
                         const std::function<void(nlohmann::json&)>& edit) {
    nlohmann::json manifest = ReadManifestFile(path);
    edit(manifest);
    if (seal == Seal::Renewed) {
        manifest.erase("checksum");
        manifest["checksum"] = Sha256Of(manifest.dump());
    }
    WriteFile(path, manifest.dump(2));
}

/// The kinds of the changes that a run of verify reports.
inline std::set<std::string> KindsOfChanges(const ProgramResult& result) {
    std::set<std::string> kinds;
    const nlohmann::json report = result.Json();
    for (const nlohmann::json& change : report.at("changes")) {
        kinds.insert(change.at("what").get<std::string>());
    }
    return kinds;
}

/// The keys of the changes of one kind.
inline std::set<std::string> KeysOfChanges(const ProgramResult& result, const std::string& what) {
    std::set<std::string> keys;
    const nlohmann::json report = result.Json();
    for (const nlohmann::json& change : report.at("changes")) {
        if (change.at("what") == what) keys.insert(change.at("key").get<std::string>());
    }
    return keys;
}

}  // namespace sonrel_tests
