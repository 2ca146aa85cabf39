// SPDX-License-Identifier: MIT
#include "sonrel/cache/detail/BinaryFile.h"

#include <cstdint>

#include "sonrel/base/Paths.h"
#include "sonrel/files/RegularFile.h"

namespace orlo::project::utility {

namespace {

int DescriptorOf(void* cookie) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(cookie));
}

ssize_t ReadStream(void* cookie, char* bytes, std::size_t size) {
    return files::Uninterrupted([&] { return ::read(DescriptorOf(cookie), bytes, size); });
}

/// The standard streams of the C library drop their buffer when a signal interrupts a write. This
/// function repeats the write.
ssize_t WriteStream(void* cookie, const char* bytes, std::size_t size) {
    return static_cast<ssize_t>(files::WriteFully(DescriptorOf(cookie), bytes, size));
}

int SeekStream(void* cookie, off64_t* position, int origin) {
    const off64_t reached = ::lseek64(DescriptorOf(cookie), *position, origin);
    if (reached < 0) return -1;
    *position = reached;
    return 0;
}

int CloseStream(void* cookie) {
    return files::Close(DescriptorOf(cookie)) ? 0 : EOF;
}

}  // namespace

BinaryFile::BinaryFile(BinaryFile&& other) noexcept
    : buffer_(std::move(other.buffer_)),
      stream_(std::exchange(other.stream_, nullptr)),
      written_(std::move(other.written_)) {}

BinaryFile& BinaryFile::operator=(BinaryFile&& other) noexcept {
    if (this != &other) {
        Close();
        buffer_ = std::move(other.buffer_);
        stream_ = std::exchange(other.stream_, nullptr);
        written_ = std::move(other.written_);
    }
    return *this;
}

bool BinaryFile::Open(int descriptor, const char* mode) {
    if (descriptor < 0) return false;
    // The C library passes the descriptor to the four functions as a pointer.
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    stream_ = ::fopencookie(reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)), mode,
                            {ReadStream, WriteStream, SeekStream, CloseStream});
    if (stream_ == nullptr) {
        files::Close(descriptor);
        return false;
    }
    struct stat status = {};
    const auto size =
        static_cast<std::size_t>(::fstat(descriptor, &status) == 0 ? status.st_blksize : BUFSIZ);
    buffer_ = std::make_unique<char[]>(size);
    std::setvbuf(stream_, buffer_.get(), _IOFBF, size);
    return true;
}

bool BinaryFile::OpenForReading(const std::wstring& path) {
    Close();
    return Open(files::OpenForReading(zrtl::ToUtf8(path), files::Links::Refused), "r");
}

bool BinaryFile::OpenForWriting(const std::wstring& path) {
    Close();
    written_ = std::make_unique<files::Checksum>();
    return Open(files::OpenEmptied(zrtl::ToUtf8(path)), "w");
}

bool BinaryFile::OpenNew(const std::wstring& path) {
    Close();
    written_ = std::make_unique<files::Checksum>();
    return Open(files::OpenNew(zrtl::ToUtf8(path)), "w");
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
    if (stream_ == nullptr || std::fwrite(item, size, 1, stream_) != 1) return false;
    if (written_ != nullptr) written_->Add(item, size);
    return true;
}

std::uint64_t BinaryFile::WrittenChecksum() const {
    return written_ != nullptr ? written_->Value() : files::Checksum().Value();
}

bool BinaryFile::Flush() {
    return stream_ != nullptr && std::fflush(stream_) == 0;
}

}  // namespace orlo::project::utility
