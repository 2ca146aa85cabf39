// SPDX-License-Identifier: MIT
#include "host/output/SoundFormat.h"

#include "host/output/OutputName.h"

namespace orlo::host {

namespace {

struct Extension {
    const char* text;
    SoundFormat format;
};

constexpr Extension EXTENSIONS[] = {
    {".wav", SoundFormat::Wav},   {".flac", SoundFormat::Flac}, {".ogg", SoundFormat::Vorbis},
    {".opus", SoundFormat::Opus}, {".w64", SoundFormat::W64},   {".aiff", SoundFormat::Aiff},
    {".aif", SoundFormat::Aiff},  {".caf", SoundFormat::Caf},
};

}  // namespace

std::optional<SoundFormat> SoundFormatOf(const std::string& name) {
    const std::string extension = ExtensionOf(name);
    for (const Extension& known : EXTENSIONS) {
        if (extension == known.text) return known.format;
    }
    return std::nullopt;
}

const char* NameOf(SoundFormat format) {
    switch (format) {
        case SoundFormat::Wav:
            return "WAV";
        case SoundFormat::Flac:
            return "FLAC";
        case SoundFormat::Vorbis:
            return "Ogg Vorbis";
        case SoundFormat::Opus:
            return "Opus";
        case SoundFormat::W64:
            return "W64";
        case SoundFormat::Aiff:
            return "AIFF";
        case SoundFormat::Caf:
            break;
    }
    return "CAF";
}

std::vector<std::string_view> SoundExtensions() {
    std::vector<std::string_view> extensions;
    for (const Extension& known : EXTENSIONS) extensions.emplace_back(known.text);
    return extensions;
}

}  // namespace orlo::host
