// SPDX-License-Identifier: MIT
#include "sonrel/caches/detail/BinaryFile.h"

#include "sonrel/contracts/zrtl/Paths.h"

namespace orlo::project::utility {

BinaryFile& BinaryFile::operator=(BinaryFile&& other) noexcept {
    if (this != &other) {
        Close();
        stream_ = std::exchange(other.stream_, nullptr);
    }
    return *this;
}

bool BinaryFile::Open(const std::wstring& path, const char* mode) {
    Close();
    stream_ = std::fopen(zrtl::ToUtf8(path).c_str(), mode);
    return stream_ != nullptr;
}

bool BinaryFile::OpenForReading(const std::wstring& path) {
    return Open(path, "rb");
}

bool BinaryFile::OpenForWriting(const std::wstring& path) {
    return Open(path, "wb");
}

bool BinaryFile::Close() {
    if (stream_ == nullptr) return true;
    return std::fclose(std::exchange(stream_, nullptr)) == 0;
}

bool BinaryFile::Seek(long long offset, int origin) {
    return stream_ != nullptr && fseeko(stream_, static_cast<off_t>(offset), origin) == 0;
}

bool BinaryFile::Read(void* item, std::size_t size) {
    return stream_ != nullptr && std::fread(item, size, 1, stream_) == 1;
}

std::size_t BinaryFile::ReadSome(void* bytes, std::size_t size) {
    return stream_ != nullptr ? std::fread(bytes, 1, size, stream_) : 0;
}

bool BinaryFile::Write(const void* item, std::size_t size) {
    return stream_ != nullptr && std::fwrite(item, size, 1, stream_) == 1;
}

bool BinaryFile::Flush() {
    return stream_ != nullptr && std::fflush(stream_) == 0;
}

}  // namespace orlo::project::utility
