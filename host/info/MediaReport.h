// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "host/shell/Outcome.h"
#include "host/timeline/MediaCatalog.h"
#include "sonrel/media/MediaInfo.h"

namespace orlo::host {

/// Describes media files with their streams, as JSON and as text.
class MediaReport {
public:
    explicit MediaReport(MediaCatalog& catalog) : catalog_(catalog) {}

    /// Adds a file.
    /// @param used    the sounds that are used of the file
    /// @param remedy  added to a note about the others
    /// @return the fault of the file as a clause; empty when it has none
    std::string Add(const std::string& path, const std::vector<zrh::media::SoundChoice>& used,
                    const std::string& remedy);

    const Json& List() const { return json_; }
    const std::string& Text() const { return text_; }
    /// Number of files with streams or channels that are not used.
    int PartlyUsedFiles() const { return partlyUsedFiles_; }

private:
    MediaCatalog& catalog_;
    Json json_ = Json::Array();
    std::string text_;
    int partlyUsedFiles_ = 0;
};

}  // namespace orlo::host
