// SPDX-License-Identifier: MIT
#include "host/plan/Plan.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <system_error>

#include "host/arrangement/TimelineImport.h"
#include "host/otio/TimelinePath.h"
#include "host/shell/Errors.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

const char* NameOf(PlannedCommand command) {
    if (command == PlannedCommand::Conform) return "conform";
    return command == PlannedCommand::Peaks ? "peaks" : "mix";
}

/// The absolute paths of the inputs, which exist.
std::vector<std::string> PathsOf(const PlanOptions& options) {
    std::vector<std::string> paths;
    for (const std::string& input : options.inputs) {
        const std::string path = AbsolutePath(input);
        std::error_code error;
        if (!std::filesystem::exists(path, error)) {
            throw JobError("cannot plan " + Quoted(path) + ": it does not exist");
        }
        paths.push_back(path);
    }
    return paths;
}

CommandWords Begin(const PlanOptions& options) {
    CommandWords words{"sonrel", NameOf(options.command)};
    words.insert(words.end(), options.passed.begin(), options.passed.end());
    return words;
}

/// "003": as many digits as the largest number.
std::string Padded(int number, int largest) {
    std::string digits = std::to_string(number);
    const std::size_t width = std::to_string(largest).size();
    return std::string(width - digits.size(), '0') + digits;
}

/// The commands for the mix of one timeline.
class MixPlan {
public:
    MixPlan(const PlanOptions& options, std::string input, std::string output)
        : options_(options), input_(std::move(input)), output_(std::move(output)) {}

    void AddTo(Plan& plan) const {
        if (options_.shards == 1) {
            plan.commands.push_back(Mix(output_, {}));
            return;
        }
        CommandWords join{"sonrel", "join"};
        for (int number = 1; number <= options_.shards; ++number) {
            const std::string part = PartName(number);
            plan.commands.push_back(
                Mix(part, std::to_string(number) + "/" + std::to_string(options_.shards)));
            join.push_back(part);
        }
        join.insert(join.end(), {"-o", output_});
        plan.joins.push_back(std::move(join));
    }

private:
    std::string PartName(int number) const {
        const std::string stem = output_.substr(0, output_.size() - 4);
        return stem + ".part-" + Padded(number, options_.shards) + "-of-" +
               std::to_string(options_.shards) + ".wav";
    }

    CommandWords Mix(const std::string& output, const std::string& part) const {
        CommandWords words = Begin(options_);
        if (!part.empty()) words.insert(words.end(), {"--part", part});
        words.insert(words.end(), {"-o", output, input_});
        return words;
    }

    const PlanOptions& options_;
    const std::string input_;
    const std::string output_;
};

Plan PlanMixes(const PlanOptions& options, const std::vector<std::string>& paths) {
    Plan plan;
    std::map<std::string, std::string> inputs;  // by output
    const std::filesystem::path folder =
        AbsolutePath(options.folder.empty() ? "." : options.folder);
    for (const std::string& path : paths) {
        if (options.shards > 1 && !otio::IsTimelinePath(path)) {
            throw UsageError("only a timeline is mixed in parts, and " + Quoted(path) +
                             " is a media file");
        }
        const std::string output = (folder / std::filesystem::path(path).stem()).string() + ".wav";
        const auto [known, isNew] = inputs.emplace(output, path);
        if (!isNew) {
            throw UsageError("the mixes of " + Quoted(known->second) + " and " + Quoted(path) +
                             " have the same name; plan them separately, each with -o DIR");
        }
        MixPlan(options, path, output).AddTo(plan);
    }
    return plan;
}

/// The inputs in groups of nearly equal number.
Plan PlanGroups(const PlanOptions& options, const std::vector<std::string>& paths) {
    Plan plan;
    const auto groups = std::min(paths.size(), static_cast<std::size_t>(options.shards));
    for (std::size_t group = 0; group < groups; ++group) {
        CommandWords words = Begin(options);
        const std::size_t end = paths.size() * (group + 1) / groups;
        for (std::size_t i = paths.size() * group / groups; i < end; ++i) words.push_back(paths[i]);
        plan.commands.push_back(std::move(words));
    }
    return plan;
}

bool IsPlainLetter(char letter) {
    constexpr std::string_view PLAIN =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789%+,-./:=@_";
    return PLAIN.find(letter) != std::string_view::npos;
}

/// The tasks of an array as a case for each number.
std::string ArrayTasks(const std::vector<CommandWords>& commands) {
    std::string text = "#!/bin/sh\ncase $SLURM_ARRAY_TASK_ID in\n";
    for (std::size_t i = 0; i < commands.size(); ++i) {
        text += std::to_string(i + 1) + ") exec " + ShellLine(commands[i]) + " ;;\n";
    }
    return text + "esac\n";
}

/// Submits an array and prints its number.
std::string Submission(const std::vector<CommandWords>& commands, const std::string& options) {
    return "sbatch --parsable --requeue --array=1-" + std::to_string(commands.size()) + options +
           " <<'END_OF_TASKS'\n" + ArrayTasks(commands) + "END_OF_TASKS\n";
}

}  // namespace

Plan MakePlan(const PlanOptions& options) {
    const std::vector<std::string> paths = PathsOf(options);
    if (options.command == PlannedCommand::Mix) return PlanMixes(options, paths);
    if (!options.folder.empty()) {
        throw UsageError(std::string("-o is the folder of mixes; ") + NameOf(options.command) +
                         " writes to the cache");
    }
    return PlanGroups(options, paths);
}

std::string ShellQuoted(const std::string& word) {
    if (!word.empty() && std::all_of(word.begin(), word.end(), IsPlainLetter)) return word;
    std::string quoted = "'";
    for (const char letter : word) {
        if (letter == '\'') {
            quoted += "'\\''";
        } else {
            quoted += letter;
        }
    }
    return quoted + "'";
}

std::string ShellLine(const CommandWords& command) {
    std::string line;
    for (const std::string& word : command) {
        if (word.find('\n') != std::string::npos) {
            throw UsageError("a plan has one command a line, and " + Quoted(word) +
                             " contains a line break; use --for json");
        }
        line += (line.empty() ? "" : " ") + ShellQuoted(word);
    }
    return line;
}

std::string SlurmScript(const Plan& plan) {
    std::string text = "#!/bin/sh\n# Submits the jobs to Slurm: sh SCRIPT\nset -eu\n";
    if (plan.joins.empty()) return text + Submission(plan.commands, "");
    text += "parts=$(" + Submission(plan.commands, "") + ")\n";
    text += "echo \"$parts\"\n";
    // Not afterok: a failed task makes it impossible, even when the task is repeated. A join that
    // misses a part fails and writes nothing.
    return text + Submission(plan.joins, " --dependency=afterany:\"${parts%%;*}\"");
}

}  // namespace orlo::host
