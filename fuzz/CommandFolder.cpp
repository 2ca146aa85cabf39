// SPDX-License-Identifier: MIT
#include "fuzz/CommandFolder.h"

#include <random>

#include "tests/support/WaveBytes.h"

namespace sonrel_fuzz {

namespace {

/// A tenth of a second of noise.
const std::string& Recording() {
    static const std::string BYTES = [] {
        std::mt19937 random(1);
        std::string samples;
        for (int i = 0; i < 2 * 4800; ++i) samples += sonrel_tests::Little(random() & 0x3FFF, 2);
        using sonrel_tests::Chunk;
        return sonrel_tests::Riff(Chunk("fmt ", sonrel_tests::PcmFormat(1, 2, 48000, 16)) +
                                  Chunk("data", samples));
    }();
    return BYTES;
}

bool Names(const std::vector<std::string>& arguments, const std::string& name) {
    return std::any_of(arguments.begin(), arguments.end(), [&](const std::string& argument) {
        return argument.find(name) != std::string::npos;
    });
}

}  // namespace

CommandFolder::CommandFolder(const std::vector<std::string>& arguments, std::string_view content)
    : former_(std::filesystem::current_path()) {
    std::filesystem::current_path(folder_.Path());
    setenv("XDG_CACHE_HOME", (folder_ / "home").c_str(), 1);
    Write("tone.wav", Recording());
    for (const char* const name : {"in.otio", "in.wav", "in.media", "in.json", "in.db"}) {
        if (Names(arguments, name)) Write(name, content);
    }
    if (Names(arguments, "in.otiod")) {
        std::filesystem::create_directory("in.otiod");
        Write("in.otiod/content.otio", content);
    }
    if (!Names(arguments, "--cache")) return;
    std::filesystem::create_directory("files");
    Write("files/a.xwmc", content);
    Write("files/a.xwpk", content);
    Write("files/notes.txt", "notes");
}

CommandFolder::~CommandFolder() {
    std::filesystem::current_path(former_);
}

bool CommandFolder::HasCache() const {
    return std::filesystem::exists(folder_ / "home/sonrel/media.db");
}

void CommandFolder::RequireUntouched(const std::vector<std::string>& arguments) const {
    for (const auto& [name, bytes] : files_) {
        const bool isGiven = Names(arguments, name) || name.starts_with("files/a.");
        if (isGiven) continue;
        Require(sonrel_tests::ReadFile(folder_ / name) == bytes, "other files are as they were");
    }
}

void CommandFolder::Write(const std::string& name, std::string_view bytes) {
    sonrel_tests::WriteFile(folder_ / name, bytes);
    files_.emplace(name, bytes);
}

}  // namespace sonrel_fuzz
