// SPDX-License-Identifier: MIT
#include "sonrel/database/detail/SqliteFileAccess.h"

#include <sqlite3.h>

#include <map>
#include <mutex>

namespace orlo::project {

namespace {

/// The functions of an open file, with our function for reads.
struct FileFunctions : sqlite3_io_methods {
    decltype(sqlite3_io_methods::xRead) systemRead;
};

int Read(sqlite3_file* file, void* bytes, int count, sqlite3_int64 offset) {
    const auto* functions = static_cast<const FileFunctions*>(file->pMethods);
    const int code = functions->systemRead(file, bytes, count, offset);
    return code == SQLITE_IOERR_CORRUPTFS ? SQLITE_IOERR_READ : code;
}

/// The functions that replace system functions. The system has a few tables, which depend on the
/// kind of locks. Ours are never deleted: a thread may use a database until the end of the program.
const sqlite3_io_methods* FunctionsFor(const sqlite3_io_methods* system) {
    static std::mutex mutex;
    static auto& tables = *new std::map<const sqlite3_io_methods*, FileFunctions>;
    const std::lock_guard lock(mutex);
    const auto [table, isNew] = tables.try_emplace(system, FileFunctions{*system, system->xRead});
    if (isNew) table->second.xRead = &Read;
    return &table->second;
}

/// A journal may name the journal of several databases, and the database library deletes the file
/// of that name, wherever it is. Our transactions are of one database: such a journal is not ours.
int OpenFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* flagsOut) {
    file->pMethods = nullptr;
    if ((flags & SQLITE_OPEN_SUPER_JOURNAL) != 0) return SQLITE_CORRUPT;
    sqlite3_vfs* const system = sqlite3_vfs_find(nullptr);
    const int code = system->xOpen(system, name, file, flags, flagsOut);
    if (code == SQLITE_OK) file->pMethods = FunctionsFor(file->pMethods);
    return code;
}

}  // namespace

const char* SqliteFileAccess() {
    static sqlite3_vfs access = [] {
        sqlite3_initialize();
        sqlite3_vfs copy = *sqlite3_vfs_find(nullptr);
        copy.zName = "sonrel";
        copy.pNext = nullptr;
        copy.xOpen = &OpenFile;
        return copy;
    }();
    static const int REGISTRATION = sqlite3_vfs_register(&access, 0);
    return REGISTRATION == SQLITE_OK ? access.zName : nullptr;
}

}  // namespace orlo::project
