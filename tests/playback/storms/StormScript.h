// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <iosfwd>
#include <string>
#include <vector>

namespace sonrel_tests {

/// One command of a storm: a word and its numbers. Numbers that the word does not use are 0.
struct StormCommand {
    std::string word;
    std::array<int, 3> numbers = {};
};

using StormScript = std::vector<StormCommand>;

/// Which commands a storm prefers.
enum class StormProfile { Normal, Flush, Scrub, Faults };

constexpr std::array<StormProfile, 4> STORM_PROFILES = {StormProfile::Normal, StormProfile::Flush,
                                                        StormProfile::Scrub, StormProfile::Faults};

std::string NameOf(StormProfile profile);

/// Random commands; the same ones for the same arguments, on every machine.
StormScript MakeStormScript(StormProfile profile, unsigned int seed, int count);

/// The word and three numbers, separated by blanks.
std::string TextOf(const StormCommand& command);
/// One command a line.
void WriteStormScript(std::ostream& stream, const StormScript& script);
/// @throws std::runtime_error for a line that is not a command
StormScript ReadStormScript(std::istream& stream);

}  // namespace sonrel_tests
