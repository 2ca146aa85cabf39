// SPDX-License-Identifier: MIT
#pragma once

#include <stdlib.h>

#include <string>
#include <vector>

#include "tests/host/ProgramRun.h"

namespace sonrel_tests {

/// A variable of the environment of the programs that are started in its scope.
class Variable {
public:
    Variable(const char* name, const std::string& value) : name_(name) {
        setenv(name_, value.c_str(), 1);
    }
    ~Variable() { unsetenv(name_); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* name_;
};

/// Operations of the program that fail.
struct Fault {
    std::filesystem::path folder;  ///< of the files
    std::string operations;        ///< classes that count, "open,read"
    std::string files;             ///< pattern of their names
    std::string error = "EIO";
    std::string times = "1";  ///< operations from the first one on; "all" for every one
};

/// What a disturbed run left.
struct DisturbedRun {
    ProgramResult result;
    bool wasHit = false;  ///< false when the run has fewer operations
};

/// Runs the program; the operation of the given number fails, counted from 1.
inline DisturbedRun RunWithFault(const Workshop& shop, const Fault& fault, int number,
                                 const std::vector<std::string>& arguments) {
    const std::filesystem::path log = shop.Path("operations.txt");
    std::filesystem::remove(log);
    const Variable root("FAULTFS_ROOT", fault.folder);
    const Variable operations("FAULTFS_OPS", fault.operations);
    const Variable match("FAULTFS_MATCH", fault.files);
    const Variable at("FAULTFS_AT", std::to_string(number));
    const Variable times("FAULTFS_TIMES", fault.times);
    const Variable error("FAULTFS_ERR", fault.error);
    const Variable logged("FAULTFS_LOG", log);
    const Variable shim("LD_PRELOAD", SONREL_FAULTFS);
    const ProgramResult result = shop.Run(arguments);
    const bool wasHit =
        std::filesystem::exists(log) && ReadFile(log).find(" HIT ") != std::string::npos;
    return {result, wasHit};
}

}  // namespace sonrel_tests
