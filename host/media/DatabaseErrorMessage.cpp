// SPDX-License-Identifier: MIT
#include "host/media/DatabaseErrorMessage.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>
#include <utility>

#include "host/shell/Text.h"

namespace orlo::host {

namespace {

namespace fs = std::filesystem;

std::string ReadText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// The identification of a file in /proc/locks: "fe:00:10952808". Empty when the file does not
/// exist.
std::string LockedFileName(const std::string& path) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) return {};
    char device[32];
    std::snprintf(device, sizeof(device), "%02x:%02x:", major(status.st_dev), minor(status.st_dev));
    return device + std::to_string(status.st_ino);
}

std::string ProcessName(long id) {
    std::string name = ReadText("/proc/" + std::to_string(id) + "/comm");
    if (!name.empty() && name.back() == '\n') name.pop_back();
    return "process " + std::to_string(id) + (name.empty() ? "" : " (" + OneLine(name) + ")");
}

bool Contains(const std::string& text, const char* words) {
    return text.find(words) != std::string::npos;
}

/// Whether @p words describe a database that cannot be opened or written.
bool IsAboutAccess(const std::string& words) {
    return Contains(words, "open database file") || Contains(words, "readonly") ||
           Contains(words, "cannot be written");
}

/// The remedy for a lack of descriptors or memory in this process; empty for any other failure. The
/// database is intact then.
std::string ShortageRemedy(const std::string& words) {
    if (Contains(words, "too many files")) return "too many files are open; allow more (ulimit -n)";
    if (Contains(words, "not enough memory") || Contains(words, "bad_alloc")) {
        return "there is not enough memory; end other programs, or allow more (ulimit -v)";
    }
    return {};
}

/// What to do about a failure of a server: a part of its text, and the remedy.
constexpr std::pair<const char*, const char*> SERVER_REMEDIES[] = {
    {"cannot be reached", "check that it runs, and its address, user and password"},
    {"connection to the server was lost", "try again when the server runs"},
    {"it is read-only", "use the address of a server that accepts changes"},
    {"is not the cache folder", "mount the shared folder, or set --cache to it"},
    {"cannot be marked", "the cache folder must be writable"},
    {"has locked the record", "try again"},
    {"has recorded the file", "try again"},
    {"disk of the server is full", "make room on the server"},
    {"address of the server is not valid", "its form is postgresql://USER@HOST:PORT/NAME"},
    {"has no tables for it", "'sonrel conform' creates them"},
    {"newer version of the program", "use the newer version of sonrel"},
    {"libpq cannot be loaded", "install libpq5"}};

/// @param text  the name of a server and the reason
std::string ServerMessage(const std::string& text) {
    const std::size_t end = text.find(": ");
    std::string message = "cannot use the media database " + Quoted(text.substr(0, end)) +
                          OneLine(text.substr(std::min(end, text.size()))) + "; ";
    for (const auto& [words, remedy] : SERVER_REMEDIES) {
        if (Contains(text, words)) return message + remedy;
    }
    return message + "ask the administrator of the server";
}

std::string LockedMessage(const std::string& database) {
    const std::string holder = LockHolder(database, ReadText("/proc/locks"));
    return "it is locked by " + (holder.empty() ? "another program" : holder) +
           "; try again after it has ended";
}

}  // namespace

std::string LockHolder(const std::string& database, const std::string& locks) {
    // A writer locks the shared memory of a write-ahead log, or the database itself without one.
    const std::string files[] = {LockedFileName(database + "-shm"), LockedFileName(database)};
    std::istringstream lines(locks);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string number, kind, mode, access, file;
        long id = 0;
        if (!(words >> number >> kind >> mode >> access >> id >> file)) continue;
        if (access != "WRITE" || id <= 0 || id == getpid()) continue;
        if (file == files[0] || file == files[1]) return ProcessName(id);
    }
    return {};
}

bool IsOnReadOnlyFileSystem(const std::string& path) {
    fs::path existing = path;
    std::error_code ignored;
    while (!fs::exists(existing, ignored) && existing.has_relative_path()) {
        existing = existing.parent_path();
    }
    struct statvfs disk = {};
    return statvfs(existing.c_str(), &disk) == 0 && (disk.f_flag & ST_RDONLY) != 0;
}

std::string DatabaseErrorMessage(const std::string& database, const std::string& reason,
                                 const std::string& remedy) {
    const std::string start = "The media database ";
    if (reason.starts_with(start + "postgresql://")) {
        return ServerMessage(reason.substr(start.size()));
    }
    // The text of a failure starts with the name of the database.
    const std::size_t name = reason.find(database + ": ");
    const std::string words =
        name == std::string::npos ? reason : reason.substr(name + database.size() + 2);
    const std::string subject = "cannot use the media database " + Quoted(database) + ": ";
    if (Contains(words, "locked")) return subject + LockedMessage(database) + ", or " + remedy;
    const std::string shortage = ShortageRemedy(words);
    if (!shortage.empty()) return subject + shortage;
    if (IsAboutAccess(words) && IsOnReadOnlyFileSystem(database)) {
        return subject + "it is on a read-only file system; " + remedy;
    }
    if (Contains(words, "is full")) {
        return subject + "its disk is full; make room, or " + remedy;
    }
    if (Contains(words, "has recorded the file")) return subject + OneLine(words) + "; try again";
    if (IsAboutAccess(words)) {
        return subject + OneLine(words) + "; it and its folder must exist and be writable, or " +
               remedy;
    }
    if (Contains(words, "disk I/O error")) {
        return subject + OneLine(words) + "; check its disk, or " + remedy;
    }
    return subject + OneLine(words) + "; move it away, or " + remedy;
}

}  // namespace orlo::host
