// SPDX-License-Identifier: MIT
#include "host/media/SpooledInput.h"

#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t READ_AT_ONCE = 1 << 16;
/// Interval at which a wait polls for an interrupt, in milliseconds.
constexpr int READ_TIMEOUT = 50;

[[noreturn]] void RefuseStandardInput(const std::string& reason) {
    throw JobError("cannot read standard input: " + reason);
}

std::string MakeFolder() {
    std::string folder = (fs::temp_directory_path() / "sonrel-XXXXXX").string();
    if (mkdtemp(folder.data()) != nullptr) return folder;
    throw JobError("cannot create the temporary folder " + Quoted(folder) + ": " +
                   std::strerror(errno) + "; set TMPDIR to another folder");
}

/// @return number of bytes; 0 at the end
std::size_t ReadSome(std::vector<char>& bytes) {
    for (;;) {
        if (Interrupted()) ThrowInterrupted("standard input was not read to its end");
        pollfd waiting{STDIN_FILENO, POLLIN, 0};
        if (poll(&waiting, 1, READ_TIMEOUT) == 0) continue;
        const ssize_t got = read(STDIN_FILENO, bytes.data(), bytes.size());
        if (got >= 0) return static_cast<std::size_t>(got);
        if (errno != EINTR && errno != EAGAIN) RefuseStandardInput(std::strerror(errno));
    }
}

Json WithNames(const Json& value, const SpooledInput& input) {
    if (value.IsString()) return {input.WithName(value.AsString())};
    if (value.IsArray()) {
        Json list = Json::Array();
        for (const Json& item : value.AsArray()) list.Append(WithNames(item, input));
        return list;
    }
    if (!value.IsObject()) return value;
    Json object = Json::Object();
    for (const auto& [key, member] : value.AsObject()) object[key] = WithNames(member, input);
    return object;
}

}  // namespace

SpooledInput::SpooledInput(const GlobalOptions& options) : options_(options) {
    if (isatty(STDIN_FILENO) != 0) {
        throw UsageError("INPUT - is standard input, which is a terminal; name a file");
    }
    options_.spoolFolder = MakeFolder();
    try {
        file_.emplace(options_.spoolFolder + "/input", "the temporary copy of standard input");
        ReadAll();
    } catch (...) {
        Remove();
        throw;
    }
}

SpooledInput::~SpooledInput() {
    Remove();
}

void SpooledInput::Remove() {
    std::error_code ignored;
    file_.reset();
    fs::remove_all(options_.spoolFolder, ignored);
}

void SpooledInput::ReadAll() {
    std::vector<char> bytes(READ_AT_ONCE);
    long long total = 0;
    while (const std::size_t got = ReadSome(bytes)) {
        total += static_cast<long long>(got);
        if (total > options_.spoolLimit) {
            RefuseStandardInput("it has more than " + std::to_string(options_.spoolLimit) +
                                " bytes; allow more with --spool-limit, or name a file");
        }
        file_->Write({bytes.data(), got});
    }
    if (total == 0) RefuseStandardInput("it is empty");
}

std::string SpooledInput::WithName(std::string text) const {
    const std::string path = Path();
    for (std::size_t at = 0; (at = text.find(path, at)) != std::string::npos; ++at) {
        text.replace(at, path.size(), STANDARD_INPUT);
    }
    return text;
}

Outcome SpooledInput::WithName(Outcome outcome) const {
    outcome.text = WithName(outcome.text);
    outcome.error = WithName(outcome.error);
    outcome.report = WithNames(outcome.report, *this);
    return outcome;
}

Outcome RunWithSpooledInput(const GlobalOptions& global, const std::vector<std::string*>& inputs,
                            const std::function<Outcome(const GlobalOptions&)>& run) {
    std::string* standard = nullptr;
    for (std::string* input : inputs) {
        if (*input != STANDARD_INPUT) continue;
        if (standard != nullptr) throw UsageError("INPUT - can be given only once");
        standard = input;
    }
    if (standard == nullptr) return run(global);
    const SpooledInput spooled(global);
    *standard = spooled.Path();
    try {
        return spooled.WithName(run(spooled.Options()));
    } catch (const CommandError& error) {
        throw CommandError(error.Code(), spooled.WithName(error.what()));
    }
}

}  // namespace orlo::host
