// SPDX-License-Identifier: MIT
#include "host/media/SpooledInput.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host/otio/TimelinePath.h"
#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

constexpr std::size_t READ_AT_ONCE = 1 << 16;
/// Interval at which a wait polls for an interrupt, in milliseconds.
constexpr int READ_TIMEOUT = 50;

[[noreturn]] void RefuseStandardInput(const std::string& reason) {
    throw JobError("cannot read standard input: " + reason);
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

void ReplaceAll(std::string& text, const std::string& before, const std::string& after) {
    for (std::size_t at = 0; (at = text.find(before, at)) != std::string::npos;
         at += after.size()) {
        text.replace(at, before.size(), after);
    }
}

bool IsArchive(const std::string& input) {
    return otio::FormatOf(input) == otio::TimelineFormat::Otioz;
}

}  // namespace

SpooledInput::SpooledInput(const GlobalOptions& options, std::vector<std::string> archives)
    : options_(options) {
    options_.spool = {folder_.Path(), false, std::move(archives)};
    for (const std::string& archive : options_.spool.archives) {
        names_.emplace_back(options_.spool.FolderOf(archive), archive);
    }
}

std::string SpooledInput::ReadStandardInput() {
    if (isatty(STDIN_FILENO) != 0) {
        throw UsageError("INPUT - is standard input, which is a terminal; name a file");
    }
    options_.spool.hasStandardInput = true;
    file_.emplace(folder_.Path() + "/input", "the temporary copy of standard input");
    ReadAll();
    names_.emplace_back(file_->OpenPath(), STANDARD_INPUT);
    return file_->OpenPath();
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
        Store({bytes.data(), got});
    }
    if (total == 0) RefuseStandardInput("it is empty");
}

void SpooledInput::Store(std::string_view bytes) {
    try {
        file_->Write(bytes);
    } catch (const JobError& error) {
        throw JobError(std::string(error.what()) + "; make room, or set TMPDIR to another folder");
    }
}

std::string SpooledInput::WithNames(std::string line) const {
    for (const auto& [path, name] : names_) ReplaceAll(line, path, OneLine(name));
    return line;
}

Json SpooledInput::JsonWithNames(const Json& value) const {
    if (value.IsString()) {
        std::string text = value.AsString();
        for (const auto& [path, name] : names_) ReplaceAll(text, path, name);
        return {std::move(text)};
    }
    if (value.IsArray()) {
        Json list = Json::Array();
        for (const Json& item : value.AsArray()) list.Append(JsonWithNames(item));
        return list;
    }
    if (!value.IsObject()) return value;
    Json object = Json::Object();
    for (const auto& [key, member] : value.AsObject()) object[key] = JsonWithNames(member);
    return object;
}

Outcome SpooledInput::WithNames(Outcome outcome) const {
    outcome.text = WithNames(outcome.text);
    outcome.error = WithNames(outcome.error);
    outcome.report = JsonWithNames(outcome.report);
    return outcome;
}

Outcome RunWithSpooledInput(const GlobalOptions& global, const std::vector<std::string*>& inputs,
                            const std::function<Outcome(const GlobalOptions&)>& run) {
    std::string* standard = nullptr;
    std::vector<std::string> archives;
    for (std::string* input : inputs) {
        if (IsArchive(*input)) archives.push_back(*input);
        if (*input != STANDARD_INPUT) continue;
        if (standard != nullptr) throw UsageError("INPUT - can be given only once");
        standard = input;
    }
    if (standard == nullptr && archives.empty()) return run(global);
    SpooledInput spooled(global, std::move(archives));
    if (standard != nullptr) *standard = spooled.ReadStandardInput();
    try {
        return spooled.WithNames(run(spooled.Options()));
    } catch (const CommandError& error) {
        throw CommandError(error.Code(), spooled.WithNames(error.what()));
    }
}

void RequireOneCache(const GlobalOptions& global, const std::vector<std::string>& inputs) {
    if (global.spool.archives.empty()) return;
    const auto other = std::find_if_not(inputs.begin(), inputs.end(), IsArchive);
    if (other == inputs.end()) return;
    throw UsageError("the cache keeps the files of " + Quoted(*other) + " and not those of " +
                     Quoted(global.spool.archives.front()) + "; use a command for each");
}

void NoteTemporaryFiles(const GlobalOptions& global, Outcome& outcome) {
    if (global.spool.archives.empty()) return;
    const std::string note =
        "the files of a timeline in an archive are temporary; unpack it to keep them";
    outcome.report["note"] = note;
    outcome.text += "note: " + note + "\n";
}

}  // namespace orlo::host
