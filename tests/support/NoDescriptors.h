// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace sonrel_tests {

/// While it lives, this process can open no file more.
class NoDescriptors {
public:
    NoDescriptors() {
        getrlimit(RLIMIT_NOFILE, &before_);
        const int next = open("/", O_RDONLY | O_CLOEXEC);  // the lowest that is free
        close(next);
        const rlimit none = {static_cast<rlim_t>(next), before_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

private:
    rlimit before_ = {};
};

}  // namespace sonrel_tests
