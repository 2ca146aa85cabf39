// SPDX-License-Identifier: MIT
#include "sonrel/database/detail/Sqlite.h"

#include <cctype>
#include <cerrno>

#include <sys/stat.h>

#include "sonrel/base/Paths.h"
#include "sonrel/database/detail/DatabaseFailures.h"
#include "sonrel/database/detail/DatabaseHooks.h"
#include "sonrel/database/detail/SqliteFileAccess.h"

namespace orlo::project {

namespace {

/// Maximum size of a text or row; our rows contain two paths.
constexpr int MAX_VALUE_BYTES = 16 << 20;

/// The path for the database library. A relative path is written so that it is none of the special
/// names of the library, such as the name of a database in memory.
std::string PathForSqlite(const std::string& path) {
    return path.empty() || path.front() == '/' ? path : "./" + path;
}

/// The URI of a file that no program writes; every byte with a meaning in a URI is escaped.
std::string FrozenAddress(const std::string& path) {
    std::string address = "file:";
    for (const char character : PathForSqlite(path)) {
        if (character == '/' || std::isalnum(static_cast<unsigned char>(character))) {
            address += character;
        } else {
            constexpr char HEX[] = "0123456789abcdef";
            const auto byte = static_cast<unsigned char>(character);
            address += {'%', HEX[byte >> 4], HEX[byte & 15]};
        }
    }
    return address + "?immutable=1";
}

int Open(const std::string& path, SqliteConnection::Mode mode, sqlite3** handle) {
    constexpr int FLAGS = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX;
    switch (mode) {
        case SqliteConnection::Mode::Create:
            return sqlite3_open_v2(PathForSqlite(path).c_str(), handle, FLAGS | SQLITE_OPEN_CREATE,
                                   SqliteFileAccess());
        case SqliteConnection::Mode::Frozen:
            return sqlite3_open_v2(FrozenAddress(path).c_str(), handle,
                                   SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_URI,
                                   SqliteFileAccess());
        case SqliteConnection::Mode::Existing:
            break;
    }
    return sqlite3_open_v2(PathForSqlite(path).c_str(), handle, FLAGS, SqliteFileAccess());
}

/// Whether a device, a pipe, a socket or a folder has the path. The database library would write to
/// a device, and make files beside it.
bool IsNoFile(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

/// Names the resource that was missing when a call failed. SQLite's own message would describe a
/// damaged or missing file.
/// @return a clause; empty for any other failure
std::string Shortage(sqlite3* handle, int code) {
    const int kind = code & 0xFF;
    if (kind == SQLITE_NOMEM || code == SQLITE_IOERR_NOMEM) return "not enough memory";
    if (handle == nullptr || (kind != SQLITE_CANTOPEN && kind != SQLITE_IOERR)) return {};
    switch (sqlite3_system_errno(handle)) {
        case EMFILE:
        case ENFILE:
            return "too many files are open";
        case ENOMEM:
            return "not enough memory";
        default:
            return {};
    }
}

}  // namespace

SqliteConnection::SqliteConnection(std::wstring const& path, Mode mode)
    : path_(zrtl::ToUtf8(path)) {
    if (path_.empty() || path_.find('\0') != std::string::npos) Fail("this is no path of a file");
    if (IsNoFile(path_)) Fail("this is not a regular file");
    sqlite3* handle = nullptr;
    const int code = Open(path_, mode, &handle);
    handle_.reset(handle);
    if (code != SQLITE_OK) FailWith(code);
    Harden();
}

void SqliteConnection::Harden() {
    sqlite3* const handle = Handle();
    sqlite3_extended_result_codes(handle, 1);
    sqlite3_busy_timeout(handle, DatabaseBusyTimeout());
    sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, MAX_VALUE_BYTES);
    sqlite3_limit(handle, SQLITE_LIMIT_ATTACHED, 0);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
}

bool SqliteConnection::IsReadOnly() const {
    return sqlite3_db_readonly(Handle(), "main") == 1;
}

void SqliteConnection::AllowChanges() {
    sqlite3_db_config(Handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
}

void SqliteConnection::SetDurable(bool durable) {
    if (durable == durable_) return;
    if (!durable && QueryText("PRAGMA journal_mode") != "wal") return;
    Execute(durable ? "PRAGMA synchronous=FULL" : "PRAGMA synchronous=NORMAL");
    durable_ = durable;
}

void SqliteConnection::Rollback() noexcept {
    sqlite3_exec(Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void SqliteConnection::Execute(const char* sql) {
    const int code = sqlite3_exec(Handle(), sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) FailWith(code);
}

long long SqliteConnection::QueryNumber(const char* sql) {
    SqliteStatement statement(*this, sql);
    StatementRun run(statement);
    if (!run.Step()) Fail("it gives no answer");
    return run.Number(0);
}

std::string SqliteConnection::QueryText(const char* sql) {
    SqliteStatement statement(*this, sql);
    StatementRun run(statement);
    if (!run.Step()) Fail("it gives no answer");
    return zrtl::ToUtf8(run.Text(0));
}

void SqliteConnection::Fail(std::string_view reason, int code) const {
    const std::string text = OneLine("The media database " + path_ + ": " + std::string(reason));
    NoteDatabaseFailure(text, (code & 0xFF) == SQLITE_CONSTRAINT);
    throw SqliteError(text, code);
}

void SqliteConnection::FailWith(int code) const {
    if ((code & 0xFF) == SQLITE_CONSTRAINT) Fail("another program has recorded the file", code);
    const std::string shortage = Shortage(Handle(), code);
    if (!shortage.empty()) Fail(shortage, code);
    // The connection keeps the text of its own last failure only.
    const bool isOwn = handle_ && sqlite3_extended_errcode(Handle()) == code;
    const char* const words = isOwn ? sqlite3_errmsg(Handle()) : sqlite3_errstr(code);
    Fail(words ? words : "unknown error", code);
}

SqliteStatement::SqliteStatement(SqliteConnection& connection, const std::string& sql)
    : connection_(&connection) {
    sqlite3_stmt* handle = nullptr;
    const int code = sqlite3_prepare_v2(connection.Handle(), sql.c_str(),
                                        static_cast<int>(sql.size()) + 1, &handle, nullptr);
    handle_.reset(handle);
    if (code != SQLITE_OK) connection.FailWith(code);
}

void SqliteStatement::Check(int code) const {
    if (code != SQLITE_OK) connection_->FailWith(code);
}

void SqliteStatement::BindNumber(int parameter, long long value) {
    Check(sqlite3_bind_int64(handle_.get(), parameter, value));
}

void SqliteStatement::BindText(int parameter, std::string const& utf8) {
    Check(sqlite3_bind_text64(handle_.get(), parameter, utf8.data(), utf8.size(), SQLITE_TRANSIENT,
                              SQLITE_UTF8));
}

bool SqliteStatement::Step() {
    const int code = sqlite3_step(handle_.get());
    if (code == SQLITE_ROW) return true;
    if (code != SQLITE_DONE) connection_->FailWith(code);
    return false;
}

void SqliteStatement::Reset() noexcept {
    sqlite3_reset(handle_.get());
    sqlite3_clear_bindings(handle_.get());
}

bool SqliteStatement::IsNull(int column) const {
    return sqlite3_column_type(handle_.get(), column) == SQLITE_NULL;
}

bool SqliteStatement::IsText(int column) const {
    return sqlite3_column_type(handle_.get(), column) == SQLITE_TEXT;
}

long long SqliteStatement::Number(int column) const {
    return sqlite3_column_int64(handle_.get(), column);
}

std::string_view SqliteStatement::Bytes(int column) const {
    const unsigned char* const text = sqlite3_column_text(handle_.get(), column);
    if (!text) return {};
    const int size = sqlite3_column_bytes(handle_.get(), column);
    return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(size)};
}

}  // namespace orlo::project
