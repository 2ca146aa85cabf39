// SPDX-License-Identifier: MIT

// Changes of a database that keep it a database, in addition to changes of its bytes: hostile
// values, dropped and renamed tables, triggers and views in place of tables, other versions.
#include <sqlite3.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#include "fuzz/Support.h"
#include "sonrel/database/MediaDB.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t maxSize);

namespace {

using orlo::project::MediaDB;
using Random = std::minstd_rand;

constexpr std::string_view MAGIC("SQLite format 3\0", 16);
/// Bytes of the header that require a write-ahead log, which a database in memory cannot have.
constexpr std::size_t JOURNAL_BYTES = 18;

struct Closer {
    void operator()(sqlite3* handle) const { sqlite3_close(handle); }
};
using Handle = std::unique_ptr<sqlite3, Closer>;

Handle Open(const std::string& name) {
    sqlite3* handle = nullptr;
    sqlite3_open(name.c_str(), &handle);
    return Handle(handle);
}

/// A statement that fails leaves the database unchanged.
void Run(const Handle& database, const std::string& sql) {
    sqlite3_exec(database.get(), sql.c_str(), nullptr, nullptr, nullptr);
}

std::string Bytes(const Handle& database) {
    sqlite3_int64 size = 0;
    unsigned char* bytes = sqlite3_serialize(database.get(), "main", &size, 0);
    std::string copy(reinterpret_cast<const char*>(bytes), bytes == nullptr ? 0 : size);
    sqlite3_free(bytes);
    return copy;
}

/// A database with a few records, in small pages.
std::string GoodDatabase() {
    const sonrel_tests::TemporaryFolder folder;
    {
        MediaDB db(folder.Wide("good.db"), {}, true);
        db.AddConformedFile(L"/media/a.wav", L"1", 0, 48000, L"a.xwmc", 1);
        db.AddConformedFile(L"/media/b.wav", L"2", 1, 44100, L"b.xwmc");
        db.AddPeakFile(L"/media/a.wav", L"1", 0, L"a.xwpk", 2);
        db.AddVFRCacheFile(L"/media/c.mov", L"3", 0, L"c");
    }
    const Handle database = Open((folder / "good.db").string());
    Run(database, "PRAGMA journal_mode=DELETE; PRAGMA page_size=512; VACUUM");
    return Bytes(database);
}

std::string Pick(Random& random, std::initializer_list<const char*> list) {
    return list.begin()[random() % list.size()];
}

std::string AnyTable(Random& random) {
    return Pick(random, {"conformed_file", "peak_file", "vfr_cache_file"});
}

std::string AnyColumn(Random& random) {
    return Pick(random, {"media_path", "media_fingerprint", "stream_index", "sample_rate",
                         "cache_filename", "last_use", "checksum"});
}

std::string AnyValue(Random& random) {
    return Pick(random, {"''",
                         "'.'",
                         "'..'",
                         "'../victim.xwmc'",
                         "'/tmp/victim.xwpk'",
                         "'a/b.xwmc'",
                         "'a\\b.xwmc'",
                         "'b.xwmc'",
                         "'b.xwpk'",
                         "'notes.txt'",
                         "'new' || char(10) || '.xwmc'",
                         "'nul' || char(0) || '.xwmc'",
                         "x'ff'",
                         "x'fffe2e78776d63'",
                         "NULL",
                         "0",
                         "-1",
                         "2147483648",
                         "4611686018427387904",
                         "-9223372036854775808",
                         "1e300",
                         "hex(randomblob(200)) || '.xwmc'",
                         "hex(zeroblob(2000))",
                         "cache_filename",
                         "media_path || 'x'",
                         "last_use + 1"});
}

std::string AnyStatement(Random& random) {
    const std::string table = AnyTable(random);
    const std::string column = AnyColumn(random);
    switch (random() % 14) {
        case 0:
            return "DROP TABLE " + table;
        case 1:
            return "ALTER TABLE " + table + " RENAME TO t; CREATE VIEW " + table +
                   " AS SELECT * FROM t";
        case 2:
            return "CREATE TRIGGER a AFTER INSERT ON " + table + " BEGIN DELETE FROM " + table +
                   "; END";
        case 3:
            return "CREATE TRIGGER b BEFORE DELETE ON " + table +
                   " BEGIN SELECT RAISE(IGNORE); END";
        case 4:
            return "ALTER TABLE " + table + " RENAME COLUMN " + column + " TO z";
        case 5:
            return "PRAGMA user_version=" + Pick(random, {"0", "1", "2", "3", "-1"});
        case 6:
            return "PRAGMA application_id=" + Pick(random, {"0", "1"});
        case 7:
            return "CREATE TABLE IF NOT EXISTS " + table + " (" + column + " TEXT)";
        case 8:
            return "PRAGMA writable_schema=ON; UPDATE sqlite_schema SET sql=replace(sql,'STRICT, "
                   "WITHOUT ROWID','')";
        case 9:
            return "DELETE FROM " + table;
        case 10:
            return "INSERT INTO " + table + " SELECT * FROM " + table + " LIMIT 1";
        default:
            return "UPDATE " + table + " SET " + column + "=" + AnyValue(random);
    }
}

/// Empty where the bytes are not a database.
std::string ChangedBySql(std::string bytes, Random& random) {
    if (bytes.size() <= JOURNAL_BYTES + 1) return {};
    const bool wantsLog = random() % 4 == 0;
    bytes[JOURNAL_BYTES] = bytes[JOURNAL_BYTES + 1] = 1;
    const Handle database = Open(":memory:");
    const auto size = static_cast<sqlite3_int64>(bytes.size());
    auto* copy = static_cast<unsigned char*>(sqlite3_malloc64(bytes.size()));
    std::memcpy(copy, bytes.data(), bytes.size());
    sqlite3_deserialize(database.get(), "main", copy, size, size,
                        SQLITE_DESERIALIZE_FREEONCLOSE | SQLITE_DESERIALIZE_RESIZEABLE);
    const unsigned int statements = 1 + random() % 3;
    for (unsigned int i = 0; i < statements; ++i) Run(database, AnyStatement(random));
    std::string changed = Bytes(database);
    if (wantsLog && changed.size() > JOURNAL_BYTES + 1) {
        changed[JOURNAL_BYTES] = changed[JOURNAL_BYTES + 1] = 2;
    }
    return changed;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size,
                                               std::size_t maxSize, unsigned int seed) {
    static const std::string GOOD = GoodDatabase();
    Random random(seed);
    std::string bytes(sonrel_fuzz::AllBytes(data, size));
    if (!bytes.starts_with(MAGIC) && random() % 8 != 0) bytes = GOOD;
    if (random() % 2 == 0) bytes = ChangedBySql(bytes, random);
    if (bytes.empty() || bytes.size() > maxSize) return LLVMFuzzerMutate(data, size, maxSize);
    std::memcpy(data, bytes.data(), bytes.size());
    if (random() % 2 == 0) return bytes.size();
    return LLVMFuzzerMutate(data, bytes.size(), maxSize);
}
