// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "sonrel/cpu/CpuPath.h"

/// Benchmarks that compare several ways of doing the same job in one run. Times are processor time
/// of the calling thread for one stereo frame; the ways of a job run in turn, several times over,
/// and their medians are compared.
namespace orlo::sonrel::bench {

/// Adds a way to do a job.
/// @param job     what is done; a row of the report
/// @param way     how; a column of the report
/// @param frames  stereo frames that one call of @p run handles
void AddWay(const std::string& job, const std::string& way, int frames, std::function<void()> run);

/// Adds one way for each path of this processor, named after it.
void AddOwnWays(const std::string& job, int frames, const std::function<void()>& run);

/// Demands that @p way takes at most 1 / @p leastRatio of the time of @p reference. A demand on a
/// way that this machine doesn't have is void.
void Demand(const std::string& job, const std::string& way, const std::string& reference,
            double leastRatio);

/// The name of a path's column.
std::string NameOf(detail::CpuPath path);

/// Runs the benchmarks, prints the report as a Markdown table and what became of each demand.
/// @return 0 if every demand is met, 1 otherwise
int RunAndReport(int argc, char** argv);

}  // namespace orlo::sonrel::bench
