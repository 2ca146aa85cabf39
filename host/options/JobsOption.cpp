// SPDX-License-Identifier: MIT
#include "host/options/JobsOption.h"

#include <algorithm>

#include "host/options/OptionTypes.h"
#include "host/process/Cores.h"

namespace orlo::host {

namespace {

constexpr int MAX_JOBS = 256;

}  // namespace

int JobsOption::Count() const {
    return number ? *number : std::min(AvailableCores(), MAX_JOBS);
}

void DeclareJobs(CLI::App& command, JobsOption& jobs, const std::string& description) {
    command.add_option("--jobs", jobs.number, description + " (default: one for each core)")
        ->type_name("N")
        ->transform(WholeNumber(1, MAX_JOBS));
}

}  // namespace orlo::host
