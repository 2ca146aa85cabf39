// SPDX-License-Identifier: MIT
#pragma once

#include <sys/resource.h>

#include <csignal>

namespace sonrel_tests {

/// Lowers a limit of this process, and of the programs that it starts, during its lifetime.
class ResourceLimit {
public:
    /// @param resource  RLIMIT_NOFILE, RLIMIT_AS or another resource of getrlimit
    ResourceLimit(__rlimit_resource resource, rlim_t value) : resource_(resource) {
        getrlimit(resource_, &before_);
        const rlimit limit = {value, before_.rlim_max};
        setrlimit(resource_, &limit);
    }
    ~ResourceLimit() { setrlimit(resource_, &before_); }
    ResourceLimit(const ResourceLimit&) = delete;
    ResourceLimit& operator=(const ResourceLimit&) = delete;

private:
    __rlimit_resource resource_;
    rlimit before_ = {};
};

/// Limits the size of the files that this process writes. A write beyond the limit fails: the
/// signal that would end the process is ignored from now on.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : limit_(RLIMIT_FSIZE, bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
    }

private:
    ResourceLimit limit_;
};

}  // namespace sonrel_tests
