// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include "tests/support/ResourceLimit.h"

namespace sonrel_tests {

/// This process cannot open another file during the lifetime of an object.
class NoDescriptors {
private:
    static rlim_t LowestFree() {
        const int lowest = open("/", O_RDONLY | O_CLOEXEC);
        close(lowest);
        return static_cast<rlim_t>(lowest);
    }

    ResourceLimit limit_{RLIMIT_NOFILE, LowestFree()};
};

}  // namespace sonrel_tests
