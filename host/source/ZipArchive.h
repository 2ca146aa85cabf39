// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/source/ZipSource.h"

struct zip;

namespace orlo::host {

/// An archive that cannot be read. The text is a clause.
class ZipError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The entry of an archive for one file or folder, unchecked.
struct ZipEntry {
    std::string name;        ///< UTF-8; the name of a folder ends in a slash
    std::uint64_t size = 0;  ///< declared bytes
    bool isEncrypted = false;
    bool isSpecial = false;  ///< a link or a device
};

/// The size of the table of files in an archive is limited, because the whole table is read into
/// memory. A table of 65536 long names has half of it.
constexpr std::uint64_t MAX_ZIP_TABLE_BYTES = 64 << 20;

/// A ZIP archive that is open for reading.
class ZipArchive {
public:
    /// @throws ZipError; JobError when the file cannot be read
    explicit ZipArchive(const std::string& path);
    ~ZipArchive();
    ZipArchive(const ZipArchive&) = delete;
    ZipArchive& operator=(const ZipArchive&) = delete;

    std::uint64_t Count() const;

    /// Bytes of the archive.
    std::uint64_t Size() const { return source_.Size(); }

    /// @param index  from 0 to Count() - 1
    /// @throws as the constructor
    ZipEntry Entry(std::uint64_t index) const;

    /// Decompresses a file piece by piece, at most the declared number of bytes.
    /// @param take  receives each piece
    /// @throws as the constructor; ZipError also when the file has more or fewer bytes than
    ///         declared, or another checksum
    void Read(std::uint64_t index, const std::function<void(std::string_view)>& take) const;

private:
    [[noreturn]] void Fail(const std::string& reason) const;

    ZipSource source_;
    zip* archive_;
};

}  // namespace orlo::host
