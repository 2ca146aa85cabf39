// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>

namespace orlo::project {

/// A statement of a connection. Parameters start at 1, columns at 0. All operations may throw
/// DatabaseError.
class RecordStatement {
public:
    RecordStatement() = default;
    virtual ~RecordStatement() = default;
    RecordStatement(const RecordStatement&) = delete;
    RecordStatement& operator=(const RecordStatement&) = delete;

    virtual void BindNumber(int parameter, long long value) = 0;
    virtual void BindText(int parameter, std::string const& utf8) = 0;
    /// @return whether a row was read; false at the end
    virtual bool Step() = 0;
    /// Ends a run and makes every parameter null.
    virtual void Reset() noexcept = 0;

    virtual bool IsNull(int column) const = 0;
    virtual bool IsText(int column) const = 0;
    virtual long long Number(int column) const = 0;
    /// The stored bytes of a text, valid until the next step.
    virtual std::string_view Bytes(int column) const = 0;
};

/// One run of a statement: binds and steps, and resets the statement on every way out.
class StatementRun {
public:
    explicit StatementRun(RecordStatement& statement) : statement_(statement) {}
    ~StatementRun() { statement_.Reset(); }
    StatementRun(const StatementRun&) = delete;
    StatementRun& operator=(const StatementRun&) = delete;

    /// Binds the next parameter, starting with the first.
    void Bind(long long value) { statement_.BindNumber(nextParameter_++, value); }
    void Bind(std::wstring const& text);
    void Bind(std::string const& utf8) { statement_.BindText(nextParameter_++, utf8); }

    /// @return whether a row was read; false at the end
    /// @throws DatabaseError
    bool Step() { return statement_.Step(); }

    bool IsNull(int column) const { return statement_.IsNull(column); }
    long long Number(int column) const { return statement_.Number(column); }
    /// The text of a column, with a replacement character for invalid bytes.
    std::wstring Text(int column) const;
    /// The text of a column if it is a file name without a path, else empty.
    std::wstring BareName(int column) const;
    /// The stored bytes of a column, valid until the next step.
    std::string_view Bytes(int column) const { return statement_.Bytes(column); }

private:
    RecordStatement& statement_;
    int nextParameter_ = 1;
};

/// The name if it is the name of a file in a folder, else empty: for ".", "..", names with a
/// separator of any system or a zero byte, and names that are too long.
std::wstring BareFileName(std::string_view utf8);

/// A text on one line, for messages.
std::string OneLine(std::string text);

}  // namespace orlo::project
