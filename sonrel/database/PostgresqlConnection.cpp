// SPDX-License-Identifier: MIT
#include "sonrel/database/detail/PostgresqlConnection.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <utility>

#include "sonrel/database/DatabaseServer.h"
#include "sonrel/database/detail/DatabaseFailures.h"
#include "sonrel/database/detail/DatabaseHooks.h"

namespace orlo::project {

namespace {

using libpq::ResultPtr;

/// Types of values, as numbered in pg_type.dat.
constexpr Oid BYTES_TYPE = 17;
constexpr Oid NUMBER_TYPE = 20;

/// The oldest version that has generated columns: 12.
constexpr int MIN_SERVER_VERSION = 120000;

/// Settings of every connection. Settings of the address take precedence. The address itself is the
/// value of dbname.
constexpr std::array SETTINGS = {
    std::pair{"connect_timeout", "5"},      std::pair{"keepalives_idle", "10"},
    std::pair{"keepalives_interval", "5"},  std::pair{"keepalives_count", "4"},
    std::pair{"tcp_user_timeout", "30000"}, std::pair{"fallback_application_name", "sonrel"}};

/// Settings of the session on the server. The tables are found in our schema only. A session that
/// is idle in a transaction for a minute is a process that hangs.
constexpr char SESSION[] =
    "SET search_path = sonrel, pg_temp;"
    "SET client_min_messages = error;"
    "SET idle_in_transaction_session_timeout = '60s';"
    "SET tcp_keepalives_idle = 10;"
    "SET tcp_keepalives_interval = 5;"
    "SET tcp_keepalives_count = 4;"
    "SET tcp_user_timeout = 30000;"
    "SET lock_timeout = ";

void DropNotice(void*, const char*) {}

/// A failure by its code, as the middle of a message; empty for a failure that the text of the
/// server describes best.
std::string ReasonOf(std::string_view code) {
    if (code == "23505") return "another program has recorded the file";
    if (code == "25006") return "the server accepts no changes: it is read-only";
    if (code == "40P01" || code == "55P03") return "another program has locked the record";
    if (code == "53100") return "the disk of the server is full";
    return {};
}

std::string Field(const PGresult* result, int field) {
    const char* const text = libpq::PQresultErrorField(result, field);
    return text == nullptr ? std::string() : text;
}

std::string FirstLine(std::string text) {
    text.resize(std::min(text.size(), text.find('\n')));
    return text;
}

/// The parameters in the form of libpq. The bytes belong to the values.
struct Parameters {
    std::vector<Oid> types;
    std::vector<const char*> bytes;
    std::vector<int> lengths;
    std::vector<int> formats;

    explicit Parameters(const std::vector<PostgresqlValue>& values) {
        for (const PostgresqlValue& value : values) {
            const bool isNumber = value.kind == PostgresqlValue::Kind::Number;
            const bool isNull = value.kind == PostgresqlValue::Kind::Null;
            types.push_back(isNumber ? NUMBER_TYPE : isNull ? 0 : BYTES_TYPE);
            bytes.push_back(isNull ? nullptr : value.bytes.data());
            lengths.push_back(static_cast<int>(value.bytes.size()));
            formats.push_back(1);
        }
    }
};

}  // namespace

PostgresqlValue PostgresqlValue::Number(long long value) {
    PostgresqlValue number{Kind::Number, {}};
    for (int shift = 56; shift >= 0; shift -= 8) {
        number.bytes += static_cast<char>(static_cast<std::uint64_t>(value) >> shift & 0xFF);
    }
    return number;
}

PostgresqlValue PostgresqlValue::Bytes(std::string const& value) {
    return {Kind::Bytes, value};
}

bool PostgresqlRows::IsBytes(int column) const {
    return libpq::PQftype(result_.get(), column) == BYTES_TYPE;
}

std::string_view PostgresqlRows::Bytes(int row, int column) const {
    return {libpq::PQgetvalue(result_.get(), row, column),
            static_cast<std::size_t>(libpq::PQgetlength(result_.get(), row, column))};
}

long long PostgresqlRows::Number(int row, int column) const {
    std::uint64_t number = 0;
    for (const char byte : Bytes(row, column)) {
        number = number << 8 | static_cast<unsigned char>(byte);
    }
    return static_cast<long long>(number);
}

long long PostgresqlRows::ChangeCount() const {
    return std::atoll(libpq::PQcmdTuples(result_.get()));
}

PostgresqlConnection::PostgresqlConnection(std::string const& address)
    : name_(DatabaseServerName(address)) {
    std::string failure;
    if (libpq::LoadLibpq(&failure) == nullptr) Fail("libpq cannot be loaded: " + failure);
    Connect(address);
    if (libpq::PQserverVersion(connection_.get()) < MIN_SERVER_VERSION) {
        Fail("the server is older than PostgreSQL 12");
    }
    libpq::PQsetNoticeProcessor(connection_.get(), &DropNotice, nullptr);
    Execute(SESSION + LockTimeout());
    // Also while the session waits for a lock. Servers before version 14 do not have the setting.
    TryToExecute("SET client_connection_check_interval = '10s'");
}

/// The messages of libpq about an invalid address contain the address with its password.
void PostgresqlConnection::Connect(std::string const& address) {
    char* message = nullptr;
    PQconninfoOption* const options = libpq::PQconninfoParse(address.c_str(), &message);
    libpq::PQconninfoFree(options);
    libpq::PQfreemem(message);
    if (options == nullptr) Fail("the address of the server is not valid");

    std::vector<const char*> keys;
    std::vector<const char*> values;
    for (const auto& [key, value] : SETTINGS) {
        keys.push_back(key);
        values.push_back(value);
    }
    keys.insert(keys.end(), {"dbname", nullptr});
    values.insert(values.end(), {address.c_str(), nullptr});
    connection_.reset(libpq::PQconnectdbParams(keys.data(), values.data(), 1));
    if (connection_ == nullptr) throw std::bad_alloc();
    if (libpq::PQstatus(connection_.get()) != CONNECTION_OK) FailToConnect();
}

void PostgresqlConnection::FailToConnect() const {
    Fail("the server cannot be reached: " + FirstLine(libpq::PQerrorMessage(connection_.get())));
}

PostgresqlRows PostgresqlConnection::Query(const std::string& sql,
                                           const std::vector<PostgresqlValue>& values) {
    constexpr int BINARY = 1;
    const Parameters parameters(values);
    return PostgresqlRows(Checked(libpq::PQexecParams(
        connection_.get(), sql.c_str(), static_cast<int>(values.size()), parameters.types.data(),
        parameters.bytes.data(), parameters.lengths.data(), parameters.formats.data(), BINARY)));
}

void PostgresqlConnection::Execute(const std::string& sql) {
    Checked(libpq::PQexec(connection_.get(), sql.c_str()));
}

void PostgresqlConnection::TryToExecute(const char* sql) noexcept {
    const ResultPtr result(libpq::PQexec(connection_.get(), sql));
}

std::string PostgresqlConnection::LockTimeout() {
    return std::to_string(std::max(1, DatabaseBusyTimeout()));
}

ResultPtr PostgresqlConnection::Checked(PGresult* result) const {
    ResultPtr owned(result);
    const ExecStatusType status = libpq::PQresultStatus(result);
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) FailWith(result);
    return owned;
}

void PostgresqlConnection::Fail(std::string_view reason, bool isConflict) const {
    const std::string text = OneLine("The media database " + name_ + ": " + std::string(reason));
    NoteDatabaseFailure(text, isConflict);
    throw DatabaseError(text);
}

void PostgresqlConnection::FailWith(const PGresult* result) const {
    const std::string code = Field(result, PG_DIAG_SQLSTATE);
    std::string message = Field(result, PG_DIAG_MESSAGE_PRIMARY);
    if (message.empty()) message = FirstLine(libpq::PQerrorMessage(connection_.get()));
    if (libpq::PQstatus(connection_.get()) != CONNECTION_OK) {
        Fail("the connection to the server was lost: " + message);
    }
    const std::string reason = ReasonOf(code);
    Fail(reason.empty() ? "the server refuses: " + message : reason, code == "23505");
}

}  // namespace orlo::project
