// SPDX-License-Identifier: MIT
#include "sonrel/database/detail/Sqlite.h"

#include <algorithm>
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
/// Maximum length of a file name.
constexpr std::size_t MAX_NAME_BYTES = 255;

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

std::string OneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return text;
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

/// Decodes UTF-8 piece by piece; invalid bytes become U+FFFD.
std::wstring DecodeLeniently(std::string_view bytes) {
    std::wstring text;
    while (!bytes.empty()) {
        std::size_t length = std::min<std::size_t>(bytes.size(), 4);
        for (; length > 0; --length) {
            try {
                const std::wstring character = zrtl::FromUtf8(bytes.substr(0, length));
                text += character;
                break;
            } catch (const std::invalid_argument&) {
            }
        }
        if (length == 0) text += L'\xFFFD';
        bytes.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return text;
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

void SqliteConnection::Execute(const char* sql) {
    const int code = sqlite3_exec(Handle(), sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) FailWith(code);
}

long long SqliteConnection::QueryNumber(const char* sql) {
    SqliteStatement statement(*this, sql);
    SqliteRun run(statement);
    if (!run.Step()) Fail("it gives no answer");
    return run.Number(0);
}

std::string SqliteConnection::QueryText(const char* sql) {
    SqliteStatement statement(*this, sql);
    SqliteRun run(statement);
    if (!run.Step()) Fail("it gives no answer");
    return zrtl::ToUtf8(run.Text(0));
}

void SqliteConnection::Fail(std::string_view reason, int code) const {
    const std::string text = OneLine("The media database " + path_ + ": " + std::string(reason));
    NoteDatabaseFailure(text, (code & 0xFF) == SQLITE_CONSTRAINT);
    throw DatabaseError(text, code);
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

SqliteRun::~SqliteRun() {
    sqlite3_reset(statement_.Handle());
    sqlite3_clear_bindings(statement_.Handle());
}

void SqliteRun::Check(int code) const {
    if (code != SQLITE_OK) statement_.connection_->FailWith(code);
}

void SqliteRun::Bind(long long value) {
    Check(sqlite3_bind_int64(statement_.Handle(), nextParameter_++, value));
}

void SqliteRun::Bind(std::wstring const& text) {
    Bind(zrtl::ToUtf8(text));
}

void SqliteRun::Bind(std::string const& utf8) {
    Check(sqlite3_bind_text64(statement_.Handle(), nextParameter_++, utf8.data(), utf8.size(),
                              SQLITE_TRANSIENT, SQLITE_UTF8));
}

bool SqliteRun::Step() {
    const int code = sqlite3_step(statement_.Handle());
    if (code == SQLITE_ROW) return true;
    if (code != SQLITE_DONE) statement_.connection_->FailWith(code);
    return false;
}

bool SqliteRun::IsNull(int column) const {
    return sqlite3_column_type(statement_.Handle(), column) == SQLITE_NULL;
}

long long SqliteRun::Number(int column) const {
    return sqlite3_column_int64(statement_.Handle(), column);
}

std::string_view SqliteRun::Bytes(int column) const {
    const unsigned char* const text = sqlite3_column_text(statement_.Handle(), column);
    if (!text) return {};
    const int size = sqlite3_column_bytes(statement_.Handle(), column);
    return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(size)};
}

std::wstring SqliteRun::Text(int column) const {
    return DecodeLeniently(Bytes(column));
}

std::wstring SqliteRun::BareName(int column) const {
    if (sqlite3_column_type(statement_.Handle(), column) != SQLITE_TEXT) return {};
    return BareFileName(Bytes(column));
}

SqliteTransaction::SqliteTransaction(SqliteConnection& connection) : connection_(connection) {
    connection_.Execute("BEGIN IMMEDIATE");
}

SqliteTransaction::~SqliteTransaction() {
    if (open_) sqlite3_exec(connection_.Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void SqliteTransaction::Commit() {
    connection_.Execute("COMMIT");
    open_ = false;
}

std::wstring BareFileName(std::string_view utf8) {
    const std::string_view separators("/\\\0", 3);
    if (utf8.size() > MAX_NAME_BYTES || utf8 == "." || utf8 == "..") return {};
    if (utf8.find_first_of(separators) != std::string_view::npos) return {};
    try {
        return zrtl::FromUtf8(utf8);
    } catch (const std::invalid_argument&) {
        return {};
    }
}

}  // namespace orlo::project
