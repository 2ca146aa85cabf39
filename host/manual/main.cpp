// SPDX-License-Identifier: MIT
// Writes the manual pages and the completions of the shells into a folder, at build time.
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "host/manual/CommandTree.h"
#include "host/manual/Completions.h"
#include "host/manual/ManualPage.h"
#include "host/shell/Version.h"

namespace {

namespace fs = std::filesystem;
using orlo::host::CommandInfo;

void Write(const fs::path& path, const std::string& text) {
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

void WriteAll(const fs::path& folder) {
    const CommandInfo program = orlo::host::DescribeProgram();
    const std::string version = orlo::host::VERSION;
    fs::remove_all(folder);
    Write(folder / "man1/sonrel.1", ProgramPage(program, version));
    for (const CommandInfo& command : program.commands) {
        Write(folder / ("man1/sonrel-" + command.path.back() + ".1"),
              CommandPage(program, command, version));
    }
    Write(folder / "completions/sonrel", BashCompletion(program));
    Write(folder / "completions/_sonrel", ZshCompletion(program));
    Write(folder / "completions/sonrel.fish", FishCompletion(program));
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) {
        std::fputs("usage: sonrel-manual FOLDER\n", stderr);
        return 2;
    }
    try {
        WriteAll(arguments[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "sonrel-manual: %s\n", error.what());
        return 1;
    }
    return 0;
}
