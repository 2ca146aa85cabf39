// SPDX-License-Identifier: MIT
#include "sonrel/database/DatabaseServer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "sonrel/base/Paths.h"
#include "sonrel/base/ZRID.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::project {

namespace {

constexpr std::string_view SCHEMES[] = {"postgresql://", "postgres://"};
constexpr std::string_view FIRST_LINE = "sonrel database server\n";

/// The smallest page of SQLite: a shorter file is none of its databases. A longer file is never
/// opened here, because closing it would drop the locks of its connections in this process.
constexpr std::size_t MIN_DATABASE_BYTES = 512;
constexpr std::size_t MAX_ADDRESS_BYTES = 480;

/// The settings in a name. Other settings may be secret.
bool IsPartOfName(std::string_view setting) {
    return setting.starts_with("host=") || setting.starts_with("port=") ||
           setting.starts_with("service=");
}

std::string SettingsOfName(std::string_view settings) {
    std::string kept;
    while (!settings.empty()) {
        const std::string_view setting = settings.substr(0, settings.find('&'));
        settings.remove_prefix(std::min(setting.size() + 1, settings.size()));
        if (IsPartOfName(setting)) kept += (kept.empty() ? "?" : "&") + std::string(setting);
    }
    return kept;
}

std::string ReadSmallFile(const std::string& path) {
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
    if (static_cast<std::size_t>(status.st_size) >= MIN_DATABASE_BYTES) return {};
    const int descriptor = files::OpenForReading(path, files::Links::Followed);
    if (descriptor < 0) return {};
    std::array<char, MIN_DATABASE_BYTES> bytes = {};
    const std::size_t size = files::ReadFully(descriptor, bytes.data(), bytes.size());
    files::Close(descriptor);
    return {bytes.data(), size};
}

[[noreturn]] void FailToWrite(const std::string& path) {
    throw std::system_error(errno, std::generic_category(), "cannot write " + path);
}

/// Writes a new file for its owner and closes it. @return whether it is complete
bool WriteOwned(int descriptor, const std::string& text) {
    const bool written = ::fchmod(descriptor, 0600) == 0 &&
                         files::WriteFully(descriptor, text.data(), text.size()) == text.size() &&
                         files::Sync(descriptor);
    return files::Close(descriptor) && written;
}

void CheckAddress(std::string const& address) {
    if (address.size() > MAX_ADDRESS_BYTES) {
        throw std::runtime_error(
            "the address of the database server is longer than 480 bytes; store its settings in "
            "~/.pg_service.conf and use ?service=NAME");
    }
    for (const char character : address) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte == 0x7F) {
            throw std::runtime_error(
                "the address of the database server contains a control character; remove it");
        }
    }
}

}  // namespace

bool IsDatabaseServerAddress(std::string const& text) {
    return text.starts_with(SCHEMES[0]) || text.starts_with(SCHEMES[1]);
}

std::string DatabaseServerName(std::string const& address) {
    std::string_view rest = address;
    for (const std::string_view scheme : SCHEMES) {
        if (rest.starts_with(scheme)) rest.remove_prefix(scheme.size());
    }
    // A password with a forgotten escape may contain any character, but the last @ is after it.
    if (const std::size_t at = rest.rfind('@'); at != std::string_view::npos) {
        rest.remove_prefix(at + 1);
    }
    const std::size_t question = std::min(rest.find('?'), rest.size());
    const std::string place(rest.substr(0, question));
    return std::string(SCHEMES[0]) + place +
           (question < rest.size() ? SettingsOfName(rest.substr(question + 1)) : std::string());
}

std::optional<std::string> ReadDatabaseServerFile(std::wstring const& path) {
    std::string text = ReadSmallFile(zrtl::ToUtf8(path));
    if (!text.starts_with(FIRST_LINE)) return std::nullopt;
    text.erase(0, FIRST_LINE.size());
    text.resize(std::min(text.size(), text.find_first_of("\r\n")));
    return text;
}

void WriteDatabaseServerFile(std::wstring const& path, std::string const& address) {
    CheckAddress(address);
    const std::string name = zrtl::ToUtf8(path);
    const std::string temporary = name + "." + zrtl::ToUtf8(zrtl::ZRID::Create().ToString());
    const int descriptor = files::OpenNew(temporary);
    if (descriptor < 0) FailToWrite(name);
    const bool replaced = WriteOwned(descriptor, std::string(FIRST_LINE) + address + "\n") &&
                          std::rename(temporary.c_str(), name.c_str()) == 0;
    if (replaced) return;
    const int error = errno;
    files::Remove(temporary);
    errno = error;
    FailToWrite(name);
}

}  // namespace orlo::project
