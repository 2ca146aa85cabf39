// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <cstddef>
#include <locale>
#include <string>
#include <utility>

#include "sonrel/mixer/detail/AssetSource.h"
#include "sonrel/mixer/detail/AudioMixerImpl.h"

namespace orlo::sonrel::detail {
namespace {

/// A file at one of the first places keeps its place.
constexpr std::ptrdiff_t SETTLED_PLACES = 3;

/// Compares paths without regard to case in the global C++ locale.
class PathComparison {
public:
    /// The locale of the process may change between calls; asking it for its characters each
    /// time would cost more than all comparisons of a call.
    static const PathComparison& Current() {
        thread_local PathComparison comparison;
        if (comparison.locale_ != std::locale()) comparison = PathComparison();
        return comparison;
    }

    /// From the end, since the files of one cache folder differ in their names.
    bool Equal(const std::wstring& a, const std::wstring& b) const {
        if (a.size() != b.size()) return false;
        return std::equal(a.rbegin(), a.rend(), b.rbegin(), [this](wchar_t x, wchar_t y) {
            return x == y || Folded(x) == Folded(y);
        });
    }

private:
    static constexpr std::size_t FIRST_CHARACTERS = 128;

    PathComparison() {
        for (std::size_t i = 0; i < folded_.size(); ++i) {
            folded_[i] = folding_->toupper(static_cast<wchar_t>(i));
        }
    }

    /// The locale is asked once for the characters that nearly all paths consist of: asking costs
    /// much more than comparing.
    wchar_t Folded(wchar_t character) const {
        const auto number = std::char_traits<wchar_t>::to_int_type(character);
        return number < folded_.size() ? folded_[number] : folding_->toupper(character);
    }

    std::locale locale_;
    const std::ctype<wchar_t>* folding_ = &std::use_facet<std::ctype<wchar_t>>(locale_);
    std::array<wchar_t, FIRST_CHARACTERS> folded_;
};

}  // namespace

const project::ConformedAudioFile* FindConformedFile(AudioMixerImpl& mixer,
                                                     const project::MediaAudioStream& stream) {
    auto& files = mixer.conformedFiles;
    const PathComparison& paths = PathComparison::Current();
    const std::wstring& path = stream.ConformedFilePath();
    const auto found = std::find_if(files.begin(), files.end(), [&](const auto& file) {
        return paths.Equal(file.FilePath(), path);
    });
    if (found != files.end()) {
        if (found - files.begin() < SETTLED_PLACES) return &*found;
        std::rotate(files.begin(), found, found + 1);
        return &files.front();
    }

    if (!stream.SamplesAvailable()) return nullptr;
    project::ConformedAudioFile file;
    if (!file.Open(path)) return nullptr;
    files.insert(files.begin(), std::move(file));
    if (files.size() > MAX_OPEN_FILES) files.pop_back();
    return &files.front();
}

}  // namespace orlo::sonrel::detail
