// SPDX-License-Identifier: MIT
#include "host/source/ZipTable.h"

#include <algorithm>
#include <string_view>

#include "host/shell/FileReader.h"

namespace orlo::host {

namespace {

/// The record at the end of an archive, which a comment of up to 65535 bytes follows.
constexpr std::string_view END_RECORD = "PK\5\6";
constexpr std::uint64_t END_RECORD_BYTES = 22;
constexpr std::uint64_t MAX_COMMENT_BYTES = 65535;
constexpr std::size_t END_TABLE_SIZE = 12;  ///< place of the size of the table in the record
constexpr std::uint64_t IN_LONG_RECORD = 0xFFFFFFFF;  ///< a size that only the longer record has

/// In archives of more than 4 GiB a locator before the record contains the place of a longer
/// record.
constexpr std::string_view LOCATOR = "PK\6\7";
constexpr std::size_t LOCATOR_BYTES = 20;
constexpr std::size_t LOCATOR_OFFSET = 8;
constexpr std::string_view LONG_RECORD = "PK\6\6";
constexpr std::size_t LONG_RECORD_BYTES = 56;
constexpr std::size_t LONG_TABLE_SIZE = 40;

/// A number with its lowest byte first. @return 0 beyond the end of the bytes
std::uint64_t LittleEndian(std::string_view bytes, std::size_t at, std::size_t count) {
    if (at + count > bytes.size()) return 0;
    std::uint64_t number = 0;
    for (std::size_t i = count; i-- > 0;) {
        number = number << 8U | static_cast<unsigned char>(bytes[at + i]);
    }
    return number;
}

std::string BytesAt(const FileReader& file, std::uint64_t offset, std::size_t count) {
    if (offset >= static_cast<std::uint64_t>(file.Size())) return {};
    std::string bytes(count, '\0');
    bytes.resize(file.ReadAt(static_cast<long long>(offset), bytes.data(), count));
    return bytes;
}

/// The size in the longer record that a locator before @p record names; 0 without a locator.
std::uint64_t LongTableBytes(const FileReader& file, std::string_view end, std::size_t record) {
    if (record < LOCATOR_BYTES) return 0;
    const std::string_view locator = end.substr(record - LOCATOR_BYTES, LOCATOR_BYTES);
    if (!locator.starts_with(LOCATOR)) return 0;
    const std::string longer =
        BytesAt(file, LittleEndian(locator, LOCATOR_OFFSET, 8), LONG_RECORD_BYTES);
    return longer.starts_with(LONG_RECORD) ? LittleEndian(longer, LONG_TABLE_SIZE, 8) : 0;
}

}  // namespace

std::uint64_t ZipTableBytes(const std::string& path) {
    const FileReader file(path);
    const auto size = static_cast<std::uint64_t>(file.Size());
    const std::uint64_t wanted = END_RECORD_BYTES + MAX_COMMENT_BYTES + LOCATOR_BYTES;
    const std::string end = BytesAt(file, size - std::min(size, wanted), std::min(size, wanted));
    std::uint64_t bytes = 0;
    for (std::size_t at = end.find(END_RECORD); at != std::string::npos;
         at = end.find(END_RECORD, at + 1)) {
        const std::uint64_t declared = LittleEndian(end, at + END_TABLE_SIZE, 4);
        if (declared != IN_LONG_RECORD) bytes = std::max(bytes, declared);
        bytes = std::max(bytes, LongTableBytes(file, end, at));
    }
    return bytes;
}

}  // namespace orlo::host
