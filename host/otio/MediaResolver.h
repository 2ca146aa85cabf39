// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace orlo::host::otio {

/// Stands for --media-root: paths that begin with @p from begin with @p to instead.
struct MediaRoot {
    std::string from;
    std::string to;
};

/// Where a target URL leads.
struct MediaLocation {
    std::string path;     ///< absolute; or the URL itself where it names no local file
    std::string problem;  ///< why the URL names no local file; empty when it does
};

/// Turns target URLs into paths of local files.
///
/// Percent escapes are decoded. "file:" URLs of this machine, absolute paths and paths relative to
/// the timeline's folder are local; every other URL is refused by name and never opened.
class MediaResolver {
public:
    /// @param folder  absolute path of the folder that relative paths begin in
    /// @param roots   tried in order; the first that fits is used
    /// @param exists  tells whether there is a file at a path. A name may contain a percent sign of
    ///                its own, so that the undecoded form is taken where only it exists
    MediaResolver(std::string folder, std::vector<MediaRoot> roots,
                  std::function<bool(const std::string&)> exists);

    MediaLocation Resolve(const std::string& url) const;

private:
    MediaLocation Locate(const std::string& path) const;
    std::string WithRoot(const std::string& path) const;

    std::string folder_;
    std::vector<MediaRoot> roots_;
    std::function<bool(const std::string&)> exists_;
};

}  // namespace orlo::host::otio
