// SPDX-License-Identifier: MIT
#include "host/manifest/Digest.h"

#define XXH_STATIC_LINKING_ONLY  // the state is a member
#include <xxhash.h>

#include <cinttypes>
#include <cstdio>

namespace orlo::host {

struct Digest::State {
    XXH3_state_t xxh3;
};

Digest::Digest() : state_(std::make_unique<State>()) {
    XXH3_64bits_reset(&state_->xxh3);
}

Digest::~Digest() = default;

void Digest::Add(const void* bytes, std::size_t size) {
    XXH3_64bits_update(&state_->xxh3, bytes, size);
}

void Digest::AddText(std::string_view text) {
    const std::uint64_t size = text.size();
    Add(&size, sizeof(size));
    Add(text.data(), text.size());
}

std::string Digest::Value() const {
    char digits[17] = {};
    std::snprintf(digits, sizeof(digits), "%016" PRIx64, XXH3_64bits_digest(&state_->xxh3));
    return digits;
}

}  // namespace orlo::host
