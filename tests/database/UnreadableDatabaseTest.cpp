// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "sonrel/database/MediaDB.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using orlo::project::MediaDB;
using sonrel_tests::TemporaryFolder;

int readsBeforeError = 0;

template <class Read>
ssize_t ReadOrFail(Read read) {
    if (readsBeforeError-- > 0) return read();
    errno = EIO;
    return -1;
}

ssize_t FailingRead(int descriptor, void* bytes, std::size_t size) {
    return ReadOrFail([=] { return ::read(descriptor, bytes, size); });
}

ssize_t FailingPread(int descriptor, void* bytes, std::size_t size, off_t offset) {
    return ReadOrFail([=] { return ::pread(descriptor, bytes, size, offset); });
}

/// Lets reads of the database library fail as on a bad disk, after a number of good ones.
class FailingReads {
public:
    explicit FailingReads(int goodReads) {
        readsBeforeError = goodReads;
        Replace("read", reinterpret_cast<sqlite3_syscall_ptr>(&FailingRead));
        Replace("pread", reinterpret_cast<sqlite3_syscall_ptr>(&FailingPread));
        Replace("pread64", reinterpret_cast<sqlite3_syscall_ptr>(&FailingPread));
    }
    FailingReads(const FailingReads&) = delete;
    FailingReads& operator=(const FailingReads&) = delete;
    ~FailingReads() {
        for (const auto& [name, call] : replaced_) System()->xSetSystemCall(System(), name, call);
    }

private:
    static sqlite3_vfs* System() { return sqlite3_vfs_find(nullptr); }

    void Replace(const char* name, sqlite3_syscall_ptr call) {
        const sqlite3_syscall_ptr present = System()->xGetSystemCall(System(), name);
        if (present == nullptr) return;
        replaced_.emplace_back(name, present);
        System()->xSetSystemCall(System(), name, call);
    }

    std::vector<std::pair<const char*, sqlite3_syscall_ptr>> replaced_;
};

/// The messages of opening a database and reading a record, one for each read that fails first.
std::vector<std::string> MessagesOfFailingReads(const TemporaryFolder& folder) {
    std::vector<std::string> messages;
    for (int goodReads = 0; goodReads < 1000; ++goodReads) {
        const FailingReads failing(goodReads);
        try {
            MediaDB(folder.Wide("media.db"), folder.Wide("cache"), true)
                .FindUnusedConformedFiles(1);
        } catch (const std::runtime_error& error) {
            messages.emplace_back(error.what());
        }
        if (readsBeforeError >= 0) break;
    }
    return messages;
}

TEST(UnreadableDatabase, AReadThatTheDiskRefusesIsNotCalledDamage) {
    const TemporaryFolder folder;
    MediaDB(folder.Wide("media.db"), folder.Wide("cache"), true);

    const std::vector<std::string> messages = MessagesOfFailingReads(folder);

    EXPECT_GE(messages.size(), 3u);
    for (const std::string& message : messages) {
        EXPECT_NE(message.find("disk I/O error"), std::string::npos) << message;
    }
}

}  // namespace
