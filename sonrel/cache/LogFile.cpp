// SPDX-License-Identifier: MIT
#include "sonrel/cache/LogFile.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QTextStream>
#include <mutex>
#include <utility>

#include "sonrel/cache/detail/LogClock.h"

namespace orlo::project {

namespace {

std::mutex clockMutex;
std::function<QDateTime()> testClock;  // guarded by clockMutex

QDateTime Now() {
    const std::lock_guard<std::mutex> guard(clockMutex);
    return testClock ? testClock() : QDateTime::currentDateTime();
}

/// Whether a character ends a line or controls a terminal.
bool IsControl(wchar_t character) {
    const auto code = static_cast<char32_t>(character);
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0x2028 || code == 0x2029;
}

QString Escape(wchar_t character) {
    switch (character) {
        case L'\n':
            return "\\n";
        case L'\r':
            return "\\r";
        case L'\t':
            return "\\t";
        default:
            return QString("\\u%1").arg(static_cast<uint>(character), 4, 16, QChar('0'));
    }
}

/// The message with each control character as text, so that a path with a line feed cannot forge a
/// line.
QString OneLine(const std::wstring& message) {
    QString line;
    std::size_t plain = 0;  // start of the characters that are not appended yet
    for (std::size_t i = 0; i < message.size(); ++i) {
        if (!IsControl(message[i])) continue;
        line += QString::fromStdWString(message.substr(plain, i - plain)) + Escape(message[i]);
        plain = i + 1;
    }
    return line + QString::fromStdWString(message.substr(plain));
}

}  // namespace

struct LogFileImpl {
    std::mutex lock;  // held while a line is written
    std::wstring path;
};

void SetLogClock(std::function<QDateTime()> clock) {
    const std::lock_guard<std::mutex> guard(clockMutex);
    testClock = std::move(clock);
}

LogFile::LogFile(const std::wstring& path) : impl_(std::make_unique<LogFileImpl>()) {
    impl_->path = path;
}

LogFile::~LogFile() = default;

void LogFile::Write(const std::wstring& message) {
    if (impl_->path.empty()) return;
    // The time is taken before the lock: lines of two threads can be slightly out of order.
    const QDateTime now = Now();
    const std::lock_guard<std::mutex> guard(impl_->lock);

    const QString path = QString::fromStdWString(impl_->path);
    // Opening a named pipe would wait for its reader. Anything but a regular file is ignored.
    const QFileInfo present(path);
    if (present.exists() && !present.isFile()) return;

    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) return;
    QTextStream stream(&file);
    stream << '[' << now.toString("dd.MM.yy") << "] [" << now.toString("hh.mm") << "] "
           << OneLine(message) << '\n';
}

}  // namespace orlo::project
