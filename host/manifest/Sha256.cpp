// SPDX-License-Identifier: MIT
#include "host/manifest/Sha256.h"

#include <QCryptographicHash>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <vector>

#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

constexpr std::size_t HASHED_AT_ONCE = 1 << 18;

[[noreturn]] void RefuseToHash(const std::string& path) {
    throw JobError("cannot read " + Quoted(path) + ": " + std::strerror(errno));
}

}  // namespace

struct Sha256::State {
    QCryptographicHash hash{QCryptographicHash::Sha256};
};

Sha256::Sha256() : state_(std::make_unique<State>()) {}

Sha256::~Sha256() = default;

void Sha256::Add(const void* bytes, std::size_t size) {
    constexpr std::size_t MAX_SIZE = 1 << 30;
    const char* at = static_cast<const char*>(bytes);
    while (size > 0) {
        const std::size_t count = std::min(size, MAX_SIZE);
        state_->hash.addData(at, static_cast<int>(count));
        at += count;
        size -= count;
    }
}

std::string Sha256::Value() const {
    return state_->hash.result().toHex().toStdString();
}

std::string Sha256OfFile(const std::string& path,
                         const std::function<void(long long bytes)>& count) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) RefuseToHash(path);
    Sha256 hash;
    std::vector<char> bytes(HASHED_AT_ONCE);
    long long total = 0;
    while (file) {
        if (Interrupted()) ThrowInterrupted("not all files are hashed");
        file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        hash.Add(bytes.data(), static_cast<std::size_t>(file.gcount()));
        total += file.gcount();
        if (count) count(total);
    }
    if (file.bad()) RefuseToHash(path);
    return hash.Value();
}

std::string Sha256OfText(const std::string& text) {
    Sha256 hash;
    hash.Add(text.data(), text.size());
    return hash.Value();
}

}  // namespace orlo::host
