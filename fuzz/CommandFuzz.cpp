// SPDX-License-Identifier: MIT
// Whole commands. The first line of the input is the command line, without the name of the program;
// the rest is the content of the files in.* that it names. A command ends with a documented exit
// code, prints one line when it fails, changes only the files that it names, and leaves a whole
// cache.
extern "C" {
#include <libavutil/log.h>
}

#include "fuzz/CommandFolder.h"
#include "fuzz/CommandLine.h"
#include "fuzz/Support.h"

namespace {

using sonrel_fuzz::CommandFolder;
using sonrel_fuzz::Require;
using sonrel_fuzz::Run;
using sonrel_fuzz::RunResult;

bool Has(const std::vector<std::string>& arguments, std::string_view option) {
    return std::any_of(arguments.begin(), arguments.end(), [&](const std::string& argument) {
        return argument.find(option) != std::string::npos;
    });
}

void CheckResult(const std::vector<std::string>& arguments, const RunResult& result) {
    Require(result.code >= 0 && result.code <= 3, "a documented exit code");
    if (Has(arguments, "--progress")) return;
    const auto lines = std::count(result.errors.begin(), result.errors.end(), '\n');
    Require(lines == (result.code == 0 ? 0 : 1), "one line for a failure, none without");
    Require(result.code == 0 || result.errors.starts_with("sonrel: "), "the line of a failure");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    av_log_set_level(AV_LOG_QUIET);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input = sonrel_fuzz::AllBytes(data, size);
    const std::size_t end = std::min(input.find('\n'), input.size());
    const std::vector<std::string> arguments = sonrel_fuzz::SafeArguments(input.substr(0, end));
    if (arguments.empty()) return -1;

    const CommandFolder folder(arguments, input.substr(std::min(end + 1, input.size())));
    const RunResult result = Run(arguments);
    CheckResult(arguments, result);
    folder.RequireUntouched(arguments);
    if (!Has(arguments, "--cache") && !Has(arguments, "--db") && folder.HasCache()) {
        Require(Run({"cache", "check", "--deep"}).code == 0, "the cache is whole");
    }
    return 0;
}
