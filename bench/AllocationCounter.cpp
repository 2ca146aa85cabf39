// SPDX-License-Identifier: MIT
#include "bench/AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> allocations = 0;

}  // namespace

// The array and nothrow forms of the standard library call these.
void* operator new(std::size_t size) {
    ++allocations;
    if (void* const memory = std::malloc(size > 0 ? size : 1)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

std::size_t sonrel_bench::Allocations() {
    return allocations;
}
