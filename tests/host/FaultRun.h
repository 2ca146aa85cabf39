// SPDX-License-Identifier: MIT
#pragma once

#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <string>
#include <vector>

#include "tests/host/ProgramRun.h"

namespace sonrel_tests {

/// An environment variable for programs that are started in its scope.
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

/// A fault in operations of the program.
struct Fault {
    std::filesystem::path folder;  ///< folder of the files
    std::string operations;        ///< kinds of operations, "open,read"
    std::string files;             ///< pattern of the file names
    std::string error = "EIO";
    std::string times = "1";  ///< number of consecutive operations, or "all"
    std::string mode = "fail";
};

/// The result of a run with a fault.
struct DisturbedRun {
    ProgramResult result;
    bool wasHit = false;  ///< false when the run has fewer operations
};

/// Starts the program with a fault in the operation of the given number, counted from 1.
inline RunningProgram StartWithFault(const Workshop& shop, const Fault& fault, int number,
                                     const std::vector<std::string>& arguments) {
    const std::filesystem::path log = shop.Path("operations.txt");
    std::filesystem::remove(log);
    const Variable root("FAULTFS_ROOT", fault.folder);
    const Variable operations("FAULTFS_OPS", fault.operations);
    const Variable match("FAULTFS_MATCH", fault.files);
    const Variable at("FAULTFS_AT", std::to_string(number));
    const Variable times("FAULTFS_TIMES", fault.times);
    const Variable error("FAULTFS_ERR", fault.error);
    const Variable mode("FAULTFS_MODE", fault.mode);
    const Variable logged("FAULTFS_LOG", log);
    const Variable shim("LD_PRELOAD", SONREL_FAULTFS);
    return shop.Start(arguments);
}

/// Runs the program with a fault in the operation of the given number, counted from 1.
inline DisturbedRun RunWithFault(const Workshop& shop, const Fault& fault, int number,
                                 const std::vector<std::string>& arguments) {
    const ProgramResult result = StartWithFault(shop, fault, number, arguments).Wait();
    const std::filesystem::path log = shop.Path("operations.txt");
    const bool wasHit =
        std::filesystem::exists(log) && ReadFile(log).find(" HIT ") != std::string::npos;
    return {result, wasHit};
}

/// Waits until a program with a fault of mode "stop" stops or ends.
/// @return whether it has stopped
inline bool WaitForStop(const RunningProgram& program) {
    siginfo_t info = {};
    const auto id = static_cast<id_t>(program.Id());
    // WNOWAIT leaves the exit status for RunningProgram::Wait.
    if (waitid(P_PID, id, &info, WSTOPPED | WEXITED | WNOWAIT) != 0) return false;
    if (info.si_code != CLD_STOPPED) return false;
    return waitid(P_PID, id, &info, WSTOPPED) == 0;
}

/// Continues a stopped program.
inline void Continue(const RunningProgram& program) {
    kill(program.Id(), SIGCONT);
}

}  // namespace sonrel_tests
