// SPDX-License-Identifier: MIT
#include "host/otio/MediaResolver.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "sonrel/base/Paths.h"

namespace orlo::host::otio {

namespace {

constexpr const char* ANOTHER_MACHINE = "it is on another machine";

bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsSchemeCharacter(char c) {
    return IsLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

/// The scheme before "://", or "file" before ":/"; empty for a path. A bare colon does not end a
/// scheme, since a file name may contain it.
std::string_view Scheme(std::string_view url) {
    const std::size_t colon = url.find(':');
    if (colon == std::string_view::npos || colon < 2 || !IsLetter(url.front())) return {};
    const std::string_view scheme = url.substr(0, colon);
    if (!std::all_of(scheme.begin(), scheme.end(), IsSchemeCharacter)) return {};
    const std::string_view rest = url.substr(colon + 1);
    if (rest.starts_with("//") || (scheme == "file" && rest.starts_with("/"))) return scheme;
    return {};
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return (IsLetter(x) ? x | 0x20 : x) == (IsLetter(y) ? y | 0x20 : y);
    });
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

/// A percent sign that is not followed by two hexadecimal digits is an ordinary character.
std::string PercentDecode(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool escape = text[i] == '%' && i + 2 < text.size() && HexDigit(text[i + 1]) >= 0 &&
                            HexDigit(text[i + 2]) >= 0;
        if (escape) {
            decoded += static_cast<char>(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2]));
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

/// Whether a path has the form that ForeignPath returns: "D:/media/a.wav".
bool HasDrive(const std::string& path) {
    return path.size() >= 3 && IsLetter(path[0]) && path[1] == ':' && path[2] == '/';
}

/// Converts a path of another system so that --media-root can match it: "D:\media\a.wav" and
/// "/D:/media/a.wav" to "D:/media/a.wav", "\\server\a.wav" and "///server/a.wav", which a URL with
/// five slashes contains, to "//server/a.wav". Other paths are unchanged.
std::string ForeignPath(std::string path) {
    while (path.starts_with("///")) path.erase(0, 1);
    if (path.starts_with("\\\\")) std::replace(path.begin(), path.end(), '\\', '/');
    const std::size_t drive = !path.empty() && path[0] == '/' ? 1 : 0;
    if (path.size() < drive + 3 || !IsLetter(path[drive]) || path[drive + 1] != ':') return path;
    if (path[drive + 2] != '/' && path[drive + 2] != '\\') return path;
    std::replace(path.begin(), path.end(), '\\', '/');
    return path.substr(drive);
}

bool BeginsWithPath(const std::string& path, const std::string& prefix) {
    if (prefix.empty() || !path.starts_with(prefix)) return false;
    return prefix.back() == '/' || path.size() == prefix.size() || path[prefix.size()] == '/';
}

bool IsValidName(const std::string& path) {
    if (path.find('\0') != std::string::npos) return false;
    try {
        zrtl::FromUtf8(path);
        return true;
    } catch (const std::invalid_argument&) {
        return false;
    }
}

}  // namespace

MediaResolver::MediaResolver(std::string folder, std::vector<MediaRoot> roots,
                             std::function<bool(const std::string&)> exists)
    : folder_(std::move(folder)), roots_(std::move(roots)), exists_(std::move(exists)) {
    for (MediaRoot& root : roots_) root.from = ForeignPath(root.from);
}

std::string MediaResolver::WithRoot(const std::string& path) const {
    for (const MediaRoot& root : roots_) {
        if (!BeginsWithPath(path, root.from)) continue;
        std::string rest = path.substr(root.from.size());
        const bool needsSlash = !rest.empty() && rest.front() != '/' && !root.to.ends_with('/');
        return root.to + (needsSlash ? "/" : "") + rest;
    }
    return path;
}

MediaLocation MediaResolver::Locate(const std::string& path) const {
    if (!IsValidName(path)) return {path, "its name contains a zero byte or is not valid UTF-8"};
    const std::string named = WithRoot(path);
    std::string full = (std::filesystem::path(folder_) / named).lexically_normal().string();
    // A root may also match the absolute form of a relative path.
    if (named == path) full = WithRoot(full);
    full = std::filesystem::path(full).lexically_normal().string();
    const bool isForeign = HasDrive(path) || path.starts_with("//");
    if (named != path || !isForeign || exists_(full)) return {full, {}};
    return {path, HasDrive(path) ? "it is on a drive of another system" : ANOTHER_MACHINE};
}

/// The path in a file URL without its scheme; nullopt when it is on another machine. Some programs
/// write a relative path or a drive after two slashes, where the name of a machine belongs.
std::optional<std::string_view> MediaResolver::PathOfFileUrl(std::string_view rest) const {
    if (!rest.starts_with("//")) return rest;
    const std::string_view name = rest.substr(2);
    const std::string_view host = name.substr(0, name.find('/'));
    if (host.empty() || EqualsIgnoringCase(host, "localhost")) return name.substr(host.size());
    const std::string decoded = PercentDecode(rest);
    if (WithRoot(decoded) != decoded) return rest;
    if (host == name || HasDrive(std::string(name))) return name;
    if (exists_((std::filesystem::path(folder_) / decoded.substr(2)).string())) return name;
    return std::nullopt;
}

/// A relative path of another system has backslashes, which may be characters of a file name here.
MediaLocation MediaResolver::LocateWithSlashes(const std::string& path) const {
    MediaLocation location = Locate(path);
    if (path.find('\\') == std::string::npos || exists_(location.path)) return location;
    std::string slashes = path;
    std::replace(slashes.begin(), slashes.end(), '\\', '/');
    MediaLocation other = Locate(slashes);
    return exists_(other.path) ? other : location;
}

MediaLocation MediaResolver::Resolve(const std::string& url) const {
    std::string_view path = url;
    const std::string_view scheme = Scheme(url);
    if (!scheme.empty()) {
        if (!EqualsIgnoringCase(scheme, "file"))
            return {url, "it is a URL, and only local files are read"};
        const auto named = PathOfFileUrl(path.substr(scheme.size() + 1));
        if (!named) return {url, ANOTHER_MACHINE};
        path = *named;
    }
    MediaLocation decoded = LocateWithSlashes(ForeignPath(PercentDecode(path)));
    if (path.find('%') == std::string_view::npos) return decoded;
    const MediaLocation literal = Locate(ForeignPath(std::string(path)));
    const bool literalOnly = (!decoded.problem.empty() || !exists_(decoded.path)) &&
                             literal.problem.empty() && exists_(literal.path);
    return literalOnly ? literal : decoded;
}

}  // namespace orlo::host::otio
