// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orlo::host::otio {

/// An option --media-root: replaces the beginning @p from of a path by @p to.
struct MediaRoot {
    std::string from;
    std::string to;
};

/// The file that a target URL names.
struct MediaLocation {
    std::string path;     ///< absolute path; the URL itself when it is not a local file
    std::string problem;  ///< why the URL is not a local file; empty when it is
};

/// Turns target URLs into paths of local files.
///
/// Percent escapes are decoded. "file:" URLs of this machine, absolute paths and paths relative to
/// the timeline's folder are local; every other URL is refused with its text and never opened.
/// Paths of another system that no root replaces are refused as the timeline has them.
class MediaResolver {
public:
    /// @param folder  absolute path of the folder for relative paths
    /// @param roots   tried in order; the first match is used
    /// @param exists  returns whether a file exists at a path. A file name may contain a literal
    ///                percent sign: the undecoded form is used when only that file exists
    MediaResolver(std::string folder, std::vector<MediaRoot> roots,
                  std::function<bool(const std::string&)> exists);

    MediaLocation Resolve(const std::string& url) const;

private:
    MediaLocation Locate(const std::string& path) const;
    MediaLocation LocateWithSlashes(const std::string& path) const;
    std::optional<std::string_view> PathOfFileUrl(std::string_view rest) const;
    std::string WithRoot(const std::string& path) const;

    std::string folder_;
    std::vector<MediaRoot> roots_;
    std::function<bool(const std::string&)> exists_;
};

}  // namespace orlo::host::otio
