// SPDX-License-Identifier: MIT
#include "sonrel/cache/detail/MediaFingerprint.h"

#include <sys/stat.h>

#include <QByteArray>
#include <QCryptographicHash>
#include <QString>
#include <cstdint>

#include "sonrel/base/Paths.h"

namespace orlo::sonrel::detail {

namespace {

constexpr std::uint64_t SECONDS_FROM_1601_TO_1970 = 11644473600u;
constexpr std::uint64_t TICKS_PER_SECOND = 10000000u;

/// Unsigned, so that a time far outside the range wraps around instead of overflowing.
std::uint64_t TicksSince1601(const timespec& time) {
    const auto seconds = static_cast<std::uint64_t>(time.tv_sec) + SECONDS_FROM_1601_TO_1970;
    return seconds * TICKS_PER_SECOND + static_cast<std::uint64_t>(time.tv_nsec) / 100u;
}

QByteArray HalvesInDecimal(std::uint64_t value) {
    return QByteArray::number(static_cast<quint32>(value >> 32)) +
           QByteArray::number(static_cast<quint32>(value & 0xFFFFFFFFu));
}

}  // namespace

std::wstring MediaFingerprint(const std::wstring& mediaPath) {
    struct stat status {};
    if (::stat(zrtl::ToUtf8(mediaPath).c_str(), &status) != 0) return {};
    const QByteArray text = HalvesInDecimal(static_cast<std::uint64_t>(status.st_size)) +
                            HalvesInDecimal(TicksSince1601(status.st_mtim));
    const QByteArray digest = QCryptographicHash::hash(text, QCryptographicHash::Md5);
    return QString::fromLatin1(digest.toHex()).toStdWString();
}

}  // namespace orlo::sonrel::detail
