// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <stdexcept>
#include <string>

#include "sonrel/database/CacheLedger.h"
#include "sonrel/database/DatabaseServer.h"
#include "sonrel/database/MediaDB.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using orlo::project::DatabaseServerName;
using orlo::project::IsDatabaseServerAddress;
using orlo::project::MediaDB;
using orlo::project::ReadDatabaseServerFile;
using orlo::project::WriteDatabaseServerFile;
using sonrel_tests::ReadFile;
using sonrel_tests::TemporaryFolder;
using sonrel_tests::WriteFile;

class DatabaseServerFile : public testing::Test {
protected:
    TemporaryFolder folder_;
    std::wstring path_ = folder_.Wide("media.db");
};

TEST_F(DatabaseServerFile, HasTheAddressInItsSecondLine) {
    WriteDatabaseServerFile(path_, "postgresql://a:b@host:77/db?x=1");

    EXPECT_EQ(ReadFile(folder_ / "media.db"),
              "sonrel database server\npostgresql://a:b@host:77/db?x=1\n");
    EXPECT_EQ(ReadDatabaseServerFile(path_), "postgresql://a:b@host:77/db?x=1");
}

TEST_F(DatabaseServerFile, IsReadableByItsOwnerOnly) {
    WriteFile(folder_ / "media.db", "older");
    WriteDatabaseServerFile(path_, "postgresql://host/db");

    struct stat status = {};
    ASSERT_EQ(::stat((folder_ / "media.db").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    EXPECT_EQ(sonrel_tests::NamesIn(folder_.Path()), std::vector<std::string>{"media.db"});
}

TEST_F(DatabaseServerFile, OtherFilesAreNotServerFiles) {
    EXPECT_EQ(ReadDatabaseServerFile(path_), std::nullopt) << "a missing file";
    for (const std::string& text :
         {std::string(), std::string("postgresql://host/db\n"),
          std::string("sonrel database servers\npostgresql://host/db\n"),
          // SQLite has no smaller database than 512 bytes, and its files must not be closed here.
          "sonrel database server\npostgresql://host/" + std::string(471, 'x')}) {
        WriteFile(folder_ / "media.db", text);
        EXPECT_EQ(ReadDatabaseServerFile(path_), std::nullopt) << text;
    }
}

TEST_F(DatabaseServerFile, OfOneByteLessThanADatabaseIsRead) {
    const std::string address = "postgresql://host/" + std::string(469, 'x');
    WriteFile(folder_ / "media.db", "sonrel database server\n" + address + "\n");

    EXPECT_EQ(ReadDatabaseServerFile(path_), address);
}

TEST_F(DatabaseServerFile, AnAddressThatIsTooLongOrHasAControlCharacterIsRefusedWithoutIt) {
    for (const std::string& address : {"postgresql://u:secret@" + std::string(459, 'x'),
                                       std::string("postgresql://u:secret@h/\nd")}) {
        try {
            WriteDatabaseServerFile(path_, address);
            FAIL() << address;
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(std::string(error.what()).find("secret"), std::string::npos);
        }
    }
    EXPECT_TRUE(sonrel_tests::NamesIn(folder_.Path()).empty());
    WriteDatabaseServerFile(path_, "postgresql://u:secret@" + std::string(458, 'x'));
}

TEST_F(DatabaseServerFile, WithoutAnAddressIsRefusedWithItsName) {
    WriteFile(folder_ / "media.db", "sonrel database server\nhost=localhost\n");
    for (const bool create : {true, false}) {
        try {
            MediaDB(path_, L"", create);
            FAIL();
        } catch (const std::runtime_error& error) {
            EXPECT_EQ(std::string(error.what()),
                      "The media database " + (folder_ / "media.db").string() +
                          ": its second line is not the address of a server");
        }
    }
    EXPECT_THROW(orlo::project::CacheLedger{path_}, std::runtime_error);
}

TEST_F(DatabaseServerFile, TheNameOfAServerHasNoUserPasswordOrUnknownSetting) {
    EXPECT_EQ(DatabaseServerName("postgresql://u:secret@h:77/db"), "postgresql://h:77/db");
    EXPECT_EQ(DatabaseServerName("postgres://h/db?password=secret&port=5&user=u"),
              "postgresql://h/db?port=5");
    EXPECT_EQ(DatabaseServerName("postgresql:///db?host=/run/pg&sslpassword=secret"),
              "postgresql:///db?host=/run/pg");
    EXPECT_EQ(DatabaseServerName("postgresql://"), "postgresql://");
}

TEST_F(DatabaseServerFile, APasswordWithAForgottenEscapeIsNotInTheName) {
    EXPECT_EQ(DatabaseServerName("postgresql://u:se/cr?et@h/db"), "postgresql://h/db");
    EXPECT_EQ(DatabaseServerName("postgresql://u:se@cret@h/db"), "postgresql://h/db");
}

TEST_F(DatabaseServerFile, AddressesBeginWithOneOfTwoSchemes) {
    EXPECT_TRUE(IsDatabaseServerAddress("postgresql://h/db"));
    EXPECT_TRUE(IsDatabaseServerAddress("postgres://h/db"));
    EXPECT_FALSE(IsDatabaseServerAddress("postgresql:h"));
    EXPECT_FALSE(IsDatabaseServerAddress("/srv/postgresql://h/db"));
    EXPECT_FALSE(IsDatabaseServerAddress(""));
}

}  // namespace
