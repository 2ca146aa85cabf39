// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "sonrel/cpu/CpuPath.h"

/// Benchmarks that compare several variants of the same job in one run. Times are processor time of
/// the calling thread for one stereo frame; the variants of a job run alternately, several times,
/// and their medians are compared.
namespace orlo::sonrel::bench {

/// Adds a variant of a job.
/// @param job      a row of the report
/// @param variant  a column of the report
/// @param frames   stereo frames that one call of @p run processes
void AddVariant(const std::string& job, const std::string& variant, int frames,
                std::function<void()> run);

/// Adds one variant for each path of this processor, with the name of the path.
void AddOwnVariants(const std::string& job, int frames, const std::function<void()>& run);

/// Demands that @p variant takes at most 1 / @p minRatio of the time of @p reference. A demand on a
/// variant that this machine does not have is ignored.
void Demand(const std::string& job, const std::string& variant, const std::string& reference,
            double minRatio);

/// The name of a path's column.
std::string NameOf(detail::CpuPath path);

/// Runs the benchmarks, prints the report as a Markdown table and the result of each demand.
/// @return 0 if every demand is met, 1 otherwise
int RunAndReport(int argc, char** argv);

}  // namespace orlo::sonrel::bench
