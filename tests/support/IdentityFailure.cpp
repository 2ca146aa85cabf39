// SPDX-License-Identifier: MIT
#include "tests/support/IdentityFailure.h"

#include <sys/types.h>

#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cwchar>

namespace {

std::atomic<sonrel_tests::IdentityFailure> currentFailure = sonrel_tests::IdentityFailure::None;

}  // namespace

// The linker calls these in place of the functions of the C library.
extern "C" {

ssize_t __real_getrandom(void* buffer, std::size_t size, unsigned int flags);
ssize_t __wrap_getrandom(void* buffer, std::size_t size, unsigned int flags);
int __wrap_swprintf(wchar_t* text, std::size_t size, const wchar_t* format, ...);

ssize_t __wrap_getrandom(void* buffer, std::size_t size, unsigned int flags) {
    if (currentFailure == sonrel_tests::IdentityFailure::Create) return -1;
    return __real_getrandom(buffer, size, flags);
}

int __wrap_swprintf(wchar_t* text, std::size_t size, const wchar_t* format, ...) {
    if (currentFailure == sonrel_tests::IdentityFailure::Text) return -1;
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vswprintf(text, size, format, arguments);
    va_end(arguments);
    return length;
}

}  // extern "C"

namespace sonrel_tests {

void SetIdentityFailure(IdentityFailure failure) {
    currentFailure = failure;
}

}  // namespace sonrel_tests
