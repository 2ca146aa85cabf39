// SPDX-License-Identifier: MIT
#pragma once

#include <sys/types.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

namespace sonrel_tests {

/// The numbers of the threads of this process.
inline std::set<std::string> ThreadNumbers() {
    std::set<std::string> numbers;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        numbers.insert(thread.path().filename());
    }
    return numbers;
}

/// How many of the threads did not exist before.
inline std::size_t CountNew(const std::set<std::string>& threads,
                            const std::set<std::string>& before) {
    return static_cast<std::size_t>(
        std::count_if(threads.begin(), threads.end(),
                      [&](const std::string& number) { return !before.contains(number); }));
}

/// Whether a thread of this process waits.
inline bool IsAsleep(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text;
    std::getline(file, text);
    const std::size_t nameEnd = text.rfind(") ");  // the name may contain any character
    return nameEnd != std::string::npos && text.compare(nameEnd, 3, ") S") == 0;
}

}  // namespace sonrel_tests
