// SPDX-License-Identifier: MIT
#pragma once

/// Marks the names that a shared library of ours exports. All other names are hidden.
#define SONREL_EXPORT __attribute__((visibility("default")))

#if defined(__FAST_MATH__)
#error "The engine's output is defined to the bit: build it and its plugins without -ffast-math."
#endif
