// SPDX-License-Identifier: MIT
#include "host/source/TimelineConversion.h"

#include <array>
#include <charconv>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <vector>

#include "host/otio/TimelinePath.h"
#include "host/process/ChildProcess.h"
#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

constexpr const char* CONVERTER = "otioconvert";
/// A conversion takes seconds. The limit ends a program that hangs.
constexpr std::chrono::minutes MAX_CONVERSION{10};

/// The Python packages with the converter and its reader of a format.
std::string Packages(otio::TimelineFormat format) {
    switch (format) {
        case otio::TimelineFormat::Edl:
            return "opentimelineio otio-cmx3600-adapter";
        case otio::TimelineFormat::FinalCut7:
            return "opentimelineio otio-fcp-adapter";
        default:
            return "opentimelineio otio-fcpx-xml-adapter";
    }
}

std::string Remedy(otio::TimelineFormat format) {
    return "install it with 'pip install " + Packages(format) + "'";
}

[[noreturn]] void Refuse(const std::string& input, const std::string& reason) {
    throw JobError("cannot read the timeline " + Quoted(input) + ": " + reason);
}

/// The shortest text that has exactly this value.
std::string ExactText(double value) {
    std::array<char, 32> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return {text.data(), end};
}

/// The last line with text. Of the traceback of a Python program it is the error.
std::string LastLine(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
    return text.substr(text.rfind('\n') + 1);  // npos + 1 is 0
}

std::string FailureReason(const ProgramEnd& end, otio::TimelineFormat format) {
    const std::string name = CONVERTER;
    const std::string line = LastLine(end.message);
    switch (end.kind) {
        case ProgramEnd::Kind::NotStarted:
            return name + " cannot be started: " + std::strerror(end.code);
        case ProgramEnd::Kind::TooLate:
            return name + " was ended after " + std::to_string(MAX_CONVERSION.count()) + " minutes";
        case ProgramEnd::Kind::Signaled:
            return name + " was ended by signal " + std::to_string(end.code);
        default:
            break;
    }
    if (end.code == 0) return name + " wrote no timeline";
    if (line.find("NoKnownAdapter") != std::string::npos) {
        return name + " lacks the adapter for this format; " + Remedy(format);
    }
    return name + " failed: " +
           (line.empty() ? "its exit code is " + std::to_string(end.code) : OneLine(line));
}

/// @param file  its absolute path cannot be mistaken for an option
std::vector<std::string> Arguments(const std::string& program, const std::string& file,
                                   const std::string& output, std::optional<double> rate) {
    std::vector<std::string> arguments{program, "-i", file, "-o", output};
    if (rate) arguments.insert(arguments.end(), {"-a", "rate=" + ExactText(*rate)});
    return arguments;
}

}  // namespace

void ConvertTimeline(const std::string& input, const std::string& output,
                     std::optional<double> fps) {
    const otio::TimelineFormat format = otio::FormatOf(input);
    const std::string file = otio::TimelineFile(input);
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error)) {
        const bool isFolder = format == otio::TimelineFormat::FinalCutXFolder;
        Refuse(input, (isFolder ? "its Info.fcpxml: " : "") +
                          (error ? error.message() : "it is not a regular file"));
    }
    const std::string program = FindProgram(CONVERTER);
    if (program.empty()) {
        Refuse(input, std::string("it needs the program ") + CONVERTER +
                          ", which is not on PATH; " + Remedy(format));
    }
    if (format != otio::TimelineFormat::Edl) fps.reset();
    const ProgramEnd end = RunProgramToEnd(Arguments(program, file, output, fps), MAX_CONVERSION);
    if (end.kind == ProgramEnd::Kind::Interrupted) {
        ThrowInterrupted("the timeline " + Quoted(input) + " was not read");
    }
    const bool isConverted = end.kind == ProgramEnd::Kind::Exited && end.code == 0 &&
                             std::filesystem::is_regular_file(output, error);
    if (!isConverted) Refuse(input, FailureReason(end, format));
}

}  // namespace orlo::host
