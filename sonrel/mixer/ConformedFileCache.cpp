// SPDX-License-Identifier: MIT
#include <algorithm>
#include <locale>
#include <string>
#include <utility>

#include "sonrel/mixer/detail/AssetSource.h"
#include "sonrel/mixer/detail/AudioMixerImpl.h"

namespace orlo::sonrel::detail {
namespace {

/// A file at one of the first places is returned where it stands.
constexpr std::ptrdiff_t SETTLED_PLACES = 3;

/// Equal without regard to case in the global C++ locale. Only characters that differ are folded,
/// since folding is much dearer than comparing.
bool EqualIgnoringCase(const std::wstring& a, const std::wstring& b) {
    if (a.size() != b.size()) return false;
    return std::equal(a.begin(), a.end(), b.begin(), [](wchar_t x, wchar_t y) {
        return x == y || std::toupper(x, std::locale()) == std::toupper(y, std::locale());
    });
}

}  // namespace

const project::ConformedAudioFile* FindConformedFile(AudioMixerImpl& mixer,
                                                     const project::MediaAudioStream& stream) {
    auto& files = mixer.conformedFiles;
    const auto found = std::find_if(files.begin(), files.end(), [&](const auto& file) {
        return EqualIgnoringCase(file.FilePath(), stream.ConformedFilePath());
    });
    if (found != files.end()) {
        if (found - files.begin() < SETTLED_PLACES) return &*found;
        std::rotate(files.begin(), found, found + 1);
        return &files.front();
    }

    if (!stream.SamplesAvailable()) return nullptr;
    project::ConformedAudioFile file;
    if (!file.Open(stream.ConformedFilePath())) return nullptr;
    files.insert(files.begin(), std::move(file));
    if (files.size() > MAX_OPEN_FILES) files.pop_back();
    return &files.front();
}

}  // namespace orlo::sonrel::detail
