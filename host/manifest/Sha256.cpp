// SPDX-License-Identifier: MIT
#include "host/manifest/Sha256.h"

#include <QCryptographicHash>
#include <algorithm>
#include <vector>

#include "host/shell/FileReader.h"
#include "host/shell/Interrupt.h"

namespace orlo::host {

namespace {

constexpr std::size_t HASHED_AT_ONCE = 1 << 18;

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
    const FileReader file(path);
    Sha256 hash;
    std::vector<char> bytes(HASHED_AT_ONCE);
    long long total = 0;
    for (std::size_t got = bytes.size(); got == bytes.size();) {
        if (Interrupted()) ThrowInterrupted("not all files are hashed");
        got = file.ReadAt(total, bytes.data(), bytes.size());
        hash.Add(bytes.data(), got);
        total += static_cast<long long>(got);
        if (count) count(total);
    }
    return hash.Value();
}

std::string Sha256OfText(const std::string& text) {
    Sha256 hash;
    hash.Add(text.data(), text.size());
    return hash.Value();
}

}  // namespace orlo::host
