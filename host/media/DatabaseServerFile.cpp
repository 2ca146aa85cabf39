// SPDX-License-Identifier: MIT
#include "host/media/DatabaseServerFile.h"

#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <system_error>

#include "host/shell/Errors.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "sonrel/database/DatabaseServer.h"

namespace orlo::host {

namespace {

namespace fs = std::filesystem;

/// A name for each address: its hash (FNV-1a) with 16 digits.
std::string HashOf(const std::string& address) {
    std::uint64_t hash = 14695981039346656037u;
    for (const char letter : address) {
        hash = (hash ^ static_cast<unsigned char>(letter)) * 1099511628211u;
    }
    char text[17];
    std::snprintf(text, sizeof(text), "%016llx", static_cast<unsigned long long>(hash));
    return text;
}

void MakeOwnFolder(const fs::path& servers, const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (!error) fs::permissions(servers, fs::perms::owner_all, error);
    if (error) {
        throw JobError("cannot create the folder " + Quoted(folder.string()) + ": " +
                       error.message() + "; set XDG_CACHE_HOME to a writable folder");
    }
}

}  // namespace

std::string DatabaseServerFileFor(const std::string& address, const std::string& folder) {
    const fs::path servers = fs::path(folder) / "servers";
    const fs::path file = servers / HashOf(address) / "media.db";
    const std::wstring path = WidePath(file.string());
    if (project::ReadDatabaseServerFile(path) == address) return file.string();
    MakeOwnFolder(servers, file.parent_path());
    try {
        project::WriteDatabaseServerFile(path, address);
    } catch (const std::exception& error) {
        throw JobError(error.what());
    }
    return file.string();
}

std::string DatabaseNameOf(const std::string& path) {
    const auto address = project::ReadDatabaseServerFile(WidePath(path));
    return address ? project::DatabaseServerName(*address) : path;
}

}  // namespace orlo::host
