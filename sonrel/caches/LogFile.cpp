// SPDX-License-Identifier: MIT
#include "sonrel/caches/LogFile.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QTextStream>
#include <mutex>

namespace orlo::project {

struct LogFileImpl {
    std::mutex lock;  // held while a line is written
    std::wstring path;
};

LogFile::LogFile(const std::wstring& path) : impl_(std::make_unique<LogFileImpl>()) {
    impl_->path = path;
}

LogFile::~LogFile() = default;

void LogFile::Write(const std::wstring& message) {
    if (impl_->path.empty()) return;
    // Stamped before the lock is taken: lines of two threads can be out of order by a moment.
    const QDateTime now = QDateTime::currentDateTime();
    const std::lock_guard<std::mutex> guard(impl_->lock);

    const QString path = QString::fromStdWString(impl_->path);
    // To open a named pipe would wait for its reader. What stands in the log's place and is no
    // file is left alone.
    const QFileInfo present(path);
    if (present.exists() && !present.isFile()) return;

    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) return;
    QTextStream stream(&file);
    stream << '[' << now.toString("dd.MM.yy") << "] [" << now.toString("hh.mm") << "] "
           << QString::fromStdWString(message) << '\n';
}

}  // namespace orlo::project
