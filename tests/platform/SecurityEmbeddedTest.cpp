// SPDX-License-Identifier: Apache-2.0

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "platform/Security/EmbeddedItemStore.hpp"
#include "tests/support/ChildProcess.hpp"
#include "tests/support/RecordingLogSink.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform {
namespace {

namespace fs = std::filesystem;
using platform::testing::ChildProcess;
using platform::testing::runInChild;
using platform::testing::runWithoutPrivileges;

SecAttributes item(const std::string& account) {
    return {{kSecClass, std::string(kSecClassGenericPassword)},
            {kSecAttrService, std::string("service")},
            {kSecAttrAccount, account}};
}

SecAttributes withData(SecAttributes attributes, const std::string& bytes) {
    attributes.insert_or_assign(kSecValueData, Data{bytes});
    return attributes;
}

mode_t mode(const fs::path& path) {
    struct stat found = {};
    return ::stat(path.c_str(), &found) == 0 ? found.st_mode & 07777 : 0;
}

class EmbeddedKeychain : public ::testing::Test {
  protected:
    OSStatus read(const std::string& account, std::string* bytes = nullptr) {
        SecAttributes query = item(account);
        query.emplace(kSecReturnData, true);
        SecResult result;
        const OSStatus status = store.copyMatching(query, &result);
        if (status == errSecSuccess && bytes) *bytes = std::get<Data>(result).bytes;
        return status;
    }
    std::string data(const std::string& account) {
        std::string bytes;
        const OSStatus status = read(account, &bytes);
        return status == errSecSuccess ? bytes : "status " + std::to_string(status);
    }
    OSStatus readHastily(const std::string& account) {
        SecResult result;
        return hasty.copyMatching(item(account), &result);
    }
    std::string contents() { return folder.read(fs::relative(file, folder.path())); }

    /// What every call that changes something answers.
    std::vector<OSStatus> changes() {
        return {store.add(withData(item("new"), "x")), store.update(item("old"), withData({}, "x")),
                store.remove(item("old"))};
    }

    platform::testing::TemporaryFolder folder;
    fs::path file = folder.path() / "data" / "vela" / "keychain.sqlite";
    EmbeddedItemStore store{file};
    /// For what is expected to run out of patience.
    EmbeddedItemStore hasty{file,
                            {.read = std::chrono::milliseconds(50), .write = std::chrono::milliseconds(50)}};
};

TEST_F(EmbeddedKeychain, IsNotMadeByWhatOnlyReadsOrRemoves) {
    EXPECT_EQ(read("a"), errSecItemNotFound);
    EXPECT_EQ(store.remove(item("a")), errSecItemNotFound);
    EXPECT_EQ(store.update(item("a"), withData({}, "x")), errSecItemNotFound);
    EXPECT_EQ(store.add({}), errSecParam);
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(EmbeddedKeychain, IsItsOwnersAlone) {
    const mode_t before = ::umask(0);
    EXPECT_EQ(store.add(withData(item("a"), "x")), errSecSuccess);
    ::umask(before);
    EXPECT_EQ(mode(file), 0600u);
    EXPECT_EQ(mode(file.parent_path()), 0700u);
    for (const auto& entry : fs::directory_iterator(file.parent_path()))
        EXPECT_EQ(mode(entry.path()), 0600u) << entry.path();
}

TEST_F(EmbeddedKeychain, IsRefusedWhenOthersCanReadIt) {
    ASSERT_EQ(store.add(withData(item("old"), "x")), errSecSuccess);
    for (const mode_t open : {0640u, 0604u, 0620u, 0666u}) {
        ASSERT_EQ(::chmod(file.c_str(), open), 0);
        EXPECT_EQ(read("old"), errSecIO) << std::oct << open;
        EXPECT_THAT(changes(), ::testing::Each(errSecIO)) << std::oct << open;
    }
    ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
    EXPECT_EQ(data("old"), "x");
}

TEST_F(EmbeddedKeychain, IsRefusedInAFolderThatOthersCanChangeAndSaysWhatMendsIt) {
    ASSERT_EQ(store.add(withData(item("old"), "x")), errSecSuccess);
    const fs::path vela = file.parent_path();
    for (const auto& [path, open] : std::vector<std::pair<fs::path, mode_t>>{
             {file, 0640}, {file, 0666}, {vela, 0770}, {vela, 01777}, {vela.parent_path(), 0777}}) {
        struct stat before = {};
        ASSERT_EQ(::stat(path.c_str(), &before), 0);
        ASSERT_EQ(::chmod(path.c_str(), open), 0);
        EmbeddedItemStore refused(file);
        const platform::testing::RecordingLogSink log;
        EXPECT_EQ(refused.add(withData(item("new"), "y")), errSecIO) << path;
        EXPECT_EQ(refused.copyMatching(item("old"), nullptr), errSecIO) << path;
        EXPECT_EQ(refused.remove(item("old")), errSecIO) << path;
        EXPECT_THAT(SecItemFault(), ::testing::EndsWith(path.string()));
        ASSERT_EQ(::chmod(path.c_str(), before.st_mode & 07777), 0);
    }
    EXPECT_EQ(data("old"), "x");
    EXPECT_EQ(read("new"), errSecItemNotFound);
}

TEST_F(EmbeddedKeychain, IsRefusedBehindALink) {
    ASSERT_EQ(store.add(withData(item("old"), "x")), errSecSuccess);
    const platform::testing::RecordingLogSink log;
    fs::rename(file, folder.path() / "elsewhere");
    fs::create_symlink(folder.path() / "elsewhere", file);
    EXPECT_EQ(read("old"), errSecIO);
    EXPECT_THAT(changes(), ::testing::Each(errSecIO));
    fs::remove(file);
    fs::create_symlink(folder.path() / "nowhere", file);
    EXPECT_EQ(read("old"), errSecIO);
    EXPECT_THAT(changes(), ::testing::Each(errSecIO));
    EXPECT_FALSE(fs::exists(folder.path() / "nowhere"));
}

TEST_F(EmbeddedKeychain, IsReadByAnotherProcess) {
    ASSERT_EQ(store.add(withData(item("a"), "x")), errSecSuccess);
    EXPECT_EQ(runInChild([&] { return data("a") == "x" ? 0 : 1; }), 0);
}

TEST_F(EmbeddedKeychain, SeesAFileThatWasReplaced) {
    ASSERT_EQ(store.add(withData(item("a"), "first")), errSecSuccess);
    fs::copy_file(file, folder.path() / "copy");
    ASSERT_EQ(store.update(item("a"), withData({}, "second")), errSecSuccess);
    fs::rename(folder.path() / "copy", file);
    EXPECT_EQ(data("a"), "first");
    fs::remove(file);
    EXPECT_EQ(read("a"), errSecItemNotFound);
}

TEST_F(EmbeddedKeychain, LeavesNoTraceOfWhatWasDeletedOrReplaced) {
    ASSERT_EQ(store.add(withData(item("a"), "the-old-secret")), errSecSuccess);
    ASSERT_EQ(store.update(item("a"), withData({}, "the-new-one")), errSecSuccess);
    EXPECT_EQ(contents().find("the-old-secret"), std::string::npos);
    ASSERT_EQ(store.remove(item("a")), errSecSuccess);
    EXPECT_EQ(contents().find("the-new-one"), std::string::npos);
}

TEST_F(EmbeddedKeychain, TakesAnEmptyFileForAnEmptyKeychain) {
    // What is left of a process that was killed before its first addition.
    folder.write(fs::relative(file, folder.path()), "");
    ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
    EXPECT_EQ(read("a"), errSecItemNotFound);
    EXPECT_EQ(store.remove(item("a")), errSecItemNotFound);
    EXPECT_EQ(store.add(withData(item("a"), "x")), errSecSuccess);
    EXPECT_EQ(data("a"), "x");
}

TEST_F(EmbeddedKeychain, AnswersDamageWithAnInputErrorAndTouchesNothing) {
    ASSERT_EQ(store.add(withData(item("old"), std::string(20000, 'x'))), errSecSuccess);
    ASSERT_EQ(store.add(withData(item("other"), "y")), errSecSuccess);
    const std::string sound = contents();
    const auto overwritten = [&sound](std::size_t start, std::size_t size) {
        std::string damaged = sound;
        std::fill_n(damaged.begin() + static_cast<std::ptrdiff_t>(start), size, '\xa5');
        return damaged;
    };
    struct Row {
        const char* damage;
        std::string contents;
    };
    const std::vector<Row> rows = {
        {"text in its place", "not a database, but long enough to be taken for one at the first glance"},
        {"a few bytes", "SQLite"},
        {"cut in its first page", sound.substr(0, 1000)},
        {"cut after its first page", sound.substr(0, 4096)},
        {"header overwritten", overwritten(0, 100)},
        {"schema overwritten", overwritten(100, 3900)},
        {"second page overwritten", overwritten(4096, 4096)},
        {"another program's",
         [&] {
             const fs::path path = folder.path() / "other.sqlite";
             sqlite3* database = nullptr;
             sqlite3_open(path.c_str(), &database);
             sqlite3_exec(database, "CREATE TABLE other (x)", nullptr, nullptr, nullptr);
             sqlite3_close(database);
             return folder.read("other.sqlite");
         }()},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.damage);
        folder.write(fs::relative(file, folder.path()), row.contents);
        EXPECT_EQ(read("old"), errSecIO);
        EXPECT_THAT(changes(), ::testing::Each(errSecIO));
        EXPECT_TRUE(contents() == row.contents);
    }
}

TEST_F(EmbeddedKeychain, RunsNothingThatAFileBringsAlong) {
    // Looked at, a view of this kind never ends.
    constexpr const char* endlessView =
        "CREATE VIEW items AS WITH RECURSIVE n (x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n)"
        " SELECT x AS sequence, 's' AS service, 'a' || x AS account, '' AS access_group, 'ck' AS accessible,"
        " 1.0 AS creation_date, 1.0 AS modification_date, x'00' AS data FROM n; PRAGMA user_version = 1";
    constexpr const char* trigger = "CREATE TRIGGER t AFTER INSERT ON items BEGIN DELETE FROM items; END";
    constexpr const char* index = "CREATE INDEX i ON items (abs(sequence))";
    for (const char* part : {endlessView, trigger, index}) {
        SCOPED_TRACE(part);
        fs::remove(file);
        if (part == endlessView) {
            folder.write(fs::relative(file, folder.path()), "");
            ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
        } else {
            ASSERT_EQ(store.add(withData(item("old"), "x")), errSecSuccess);
        }
        sqlite3* database = nullptr;
        sqlite3_open(file.c_str(), &database);
        ASSERT_EQ(sqlite3_exec(database, part, nullptr, nullptr, nullptr), SQLITE_OK);
        sqlite3_close(database);
        const std::string before = contents();
        EXPECT_EQ(read("old"), errSecIO);
        EXPECT_THAT(changes(), ::testing::Each(errSecIO));
        EXPECT_TRUE(contents() == before);
    }
}

constexpr std::size_t pageSize = 4096;

std::string bigEndian(std::size_t value, int bytes) {
    std::string text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        text.push_back(static_cast<char>(value >> shift));
    return text;
}

/// An inner page of a table (the file format's section 1.6) with 500 ways to one page below.
std::string innerPage(std::size_t below) {
    constexpr std::size_t ways = 500, cellSize = 5, header = 12;
    std::string page = '\x05' + bigEndian(0, 2) + bigEndian(ways - 1, 2) +
                       bigEndian(pageSize - cellSize * (ways - 1), 2) + '\0' + bigEndian(below, 4);
    for (std::size_t cell = 1; cell < ways; ++cell) page += bigEndian(pageSize - cellSize * cell, 2);
    page.resize(pageSize - cellSize * (ways - 1));
    for (std::size_t cell = 1; cell < ways; ++cell) page += bigEndian(below, 4) + '\x01';
    static_assert(header + (2 + cellSize) * (ways - 1) <= pageSize);
    return page;
}

TEST_F(EmbeddedKeychain, LeavesAFileThatLeadsInCircles) {
    ASSERT_EQ(store.add(withData(item("old"), "x")), errSecSuccess);
    std::string bytes = contents();
    ASSERT_EQ(bytes.size(), 3 * pageSize);
    // The second page is the table's. It moves to the end, and four times 500 ways lead there.
    const std::string leaf = bytes.substr(pageSize, pageSize);
    bytes.replace(pageSize, pageSize, innerPage(4));
    for (const std::size_t below : {5, 6, 7}) bytes += innerPage(below);
    bytes += leaf;
    bytes.replace(28, 4, bigEndian(7, 4));
    folder.write(fs::relative(file, folder.path()), bytes);
    EXPECT_EQ(read("absent"), errSecIO);
    EXPECT_THAT(changes(), ::testing::Each(errSecIO));
}

TEST_F(EmbeddedKeychain, AnswersWhatIsNoFileWithAnInputError) {
    fs::create_directories(file);
    EXPECT_EQ(read("old"), errSecIO);
    EXPECT_THAT(changes(), ::testing::Each(errSecIO));

    fs::remove_all(folder.path() / "data");
    folder.write("data/vela", "a file in the folder's place");
    EXPECT_EQ(read("old"), errSecIO);
    EXPECT_THAT(changes(), ::testing::Each(errSecIO));

    fs::remove_all(folder.path() / "data");
    fs::create_directories(file.parent_path());
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(read("old"), errSecIO);
    EXPECT_THAT(changes(), ::testing::Each(errSecIO));
}

TEST_F(EmbeddedKeychain, AnswersMissingRightsWithAnInputError) {
    ASSERT_EQ(store.add(withData(item("old"), "x")), errSecSuccess);
    ASSERT_EQ(::chmod(file.c_str(), 0), 0);
    ASSERT_EQ(::chmod(file.parent_path().c_str(), 0755), 0);
    EXPECT_EQ(runWithoutPrivileges([&] {
                  const auto statuses = changes();
                  const bool allRefused = std::all_of(statuses.begin(), statuses.end(),
                                                      [](OSStatus status) { return status == errSecIO; });
                  return read("old") == errSecIO && allRefused ? 0 : 1;
              }),
              0);
    ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
    EXPECT_EQ(data("old"), "x");
}

TEST_F(EmbeddedKeychain, KeepsTheOldValueWhenTheDiskIsFull) {
    ASSERT_EQ(store.add(withData(item("old"), "kept")), errSecSuccess);
    const std::string before = contents();
    EXPECT_EQ(runInChild([&] {
                  ::signal(SIGXFSZ, SIG_IGN);
                  const rlimit limit = {before.size(), before.size()};
                  ::setrlimit(RLIMIT_FSIZE, &limit);
                  const std::string large(100000, 'x');
                  return store.update(item("old"), withData({}, large)) == errSecIO &&
                                 store.add(withData(item("new"), large)) == errSecIO
                             ? 0
                             : 1;
              }),
              0);
    EXPECT_EQ(data("old"), "kept");
    EXPECT_EQ(read("new"), errSecItemNotFound);
    EXPECT_TRUE(contents() == before);
}

// Holds a lock on the file from a process of its own, until it is told to let go.
class Holder {
  public:
    Holder(const fs::path& file, const char* begin)
        : ready_(pipe()), release_(pipe()), child_([this, file, begin] { return hold(file, begin); }) {
        char byte = 0;
        (void)!::read(ready_.first, &byte, 1);
    }
    ~Holder() {
        (void)!::write(release_.second, "x", 1);
        child_.wait();
        for (const int descriptor : {ready_.first, ready_.second, release_.first, release_.second})
            ::close(descriptor);
    }

  private:
    static std::pair<int, int> pipe() {
        int ends[2] = {-1, -1};
        (void)!::pipe(ends);
        return {ends[0], ends[1]};
    }
    int hold(const fs::path& file, const char* begin) {
        sqlite3* database = nullptr;
        sqlite3_open(file.c_str(), &database);
        sqlite3_exec(database, begin, nullptr, nullptr, nullptr);
        (void)!::write(ready_.second, "x", 1);
        char byte = 0;
        (void)!::read(release_.first, &byte, 1);
        sqlite3_exec(database, "ROLLBACK", nullptr, nullptr, nullptr);
        sqlite3_close(database);
        return 0;
    }

    std::pair<int, int> ready_;
    std::pair<int, int> release_;
    ChildProcess child_;
};

TEST_F(EmbeddedKeychain, IsLockedWhileAnotherProcessHoldsIt) {
    ASSERT_EQ(store.add(withData(item("old"), "x")), errSecSuccess);
    {
        const Holder holder(file, "BEGIN EXCLUSIVE");
        EXPECT_EQ(hasty.copyMatching(item("old"), nullptr), errSecInteractionNotAllowed);
        EXPECT_EQ(hasty.update(item("old"), withData({}, "y")), errSecInteractionNotAllowed);
    }
    EXPECT_EQ(data("old"), "x");
    EXPECT_EQ(store.update(item("old"), withData({}, "y")), errSecSuccess);
}

TEST_F(EmbeddedKeychain, CanBeReadWhileAnotherProcessIsAboutToWrite) {
    ASSERT_EQ(store.add(withData(item("old"), "x")), errSecSuccess);
    const Holder holder(file, "BEGIN IMMEDIATE");
    EXPECT_EQ(data("old"), "x");
}

TEST_F(EmbeddedKeychain, AnswersATransactionsReadsWhileAnotherProcessIsAboutToWrite) {
    ASSERT_EQ(store.add(withData(item("old"), "x")), errSecSuccess);
    const Holder holder(file, "BEGIN IMMEDIATE");
    const auto transaction = hasty.beginTransaction();
    EXPECT_EQ(readHastily("new"), errSecItemNotFound);
    EXPECT_EQ(readHastily("old"), errSecSuccess);
    EXPECT_EQ(hasty.add(withData(item("new"), "x")), errSecInteractionNotAllowed);
    EXPECT_EQ(transaction->commit(), errSecInteractionNotAllowed);
}

TEST_F(EmbeddedKeychain, KeepsNothingThatATransactionWritesAfterAReadWhichItCouldNotBeSureOf) {
    ASSERT_EQ(store.add(withData(item("old"), "x")), errSecSuccess);
    const auto transaction = hasty.beginTransaction();
    {
        const Holder holder(file, "BEGIN IMMEDIATE");
        EXPECT_EQ(readHastily("new"), errSecItemNotFound);
    }
    EXPECT_EQ(hasty.remove(item("old")), errSecInteractionNotAllowed);
    EXPECT_EQ(transaction->commit(), errSecInteractionNotAllowed);
    EXPECT_EQ(data("old"), "x");
}

TEST_F(EmbeddedKeychain, LetsATransactionEndWellThatHasOnlyReadWhileAnotherProcessWasAboutToWrite) {
    ASSERT_EQ(store.add(withData(item("old"), "x")), errSecSuccess);
    const Holder holder(file, "BEGIN IMMEDIATE");
    const auto transaction = hasty.beginTransaction();
    EXPECT_EQ(readHastily("new"), errSecItemNotFound);
    EXPECT_EQ(transaction->commit(), errSecSuccess);
}

TEST_F(EmbeddedKeychain, LosesNothingOfTwoWritersAtOnce) {
    constexpr int count = 40;
    const auto write = [this](const std::string& name) {
        return [this, name] {
            for (int number = 0; number < count; ++number) {
                if (store.add(withData(item(name + std::to_string(number)), name)) != errSecSuccess) return 1;
            }
            return 0;
        };
    };
    ChildProcess first(write("first"));
    ChildProcess second(write("second"));
    EXPECT_EQ(first.wait(), 0);
    EXPECT_EQ(second.wait(), 0);
    for (int number = 0; number < count; ++number) {
        EXPECT_EQ(data("first" + std::to_string(number)), "first");
        EXPECT_EQ(data("second" + std::to_string(number)), "second");
    }
}

TEST_F(EmbeddedKeychain, MakesOneFileOfTwoFirstWritersAtOnce) {
    for (int round = 0; round < 10; ++round) {
        fs::remove_all(folder.path() / "data");
        ChildProcess first([&] { return store.add(withData(item("first"), "x")); });
        ChildProcess second([&] { return store.add(withData(item("second"), "y")); });
        EXPECT_EQ(first.wait(), 0);
        EXPECT_EQ(second.wait(), 0);
        EXPECT_EQ(data("first") + data("second"), "xy");
    }
}

TEST_F(EmbeddedKeychain, HoldsAnOldOrANewValueAfterAKillAtAnyInstant) {
    const std::string one(50000, '1');
    const std::string two(50000, '2');
    ASSERT_EQ(store.add(withData(item("a"), one)), errSecSuccess);
    for (int round = 0; round < 40; ++round) {
        ChildProcess writer([&] {
            for (;;) {
                store.update(item("a"), withData({}, two));
                store.update(item("a"), withData({}, one));
            }
            return 0;
        });
        std::this_thread::sleep_for(std::chrono::microseconds(round * 731 % 20000));
        writer.kill();
        writer.wait();
        const std::string found = data("a");
        EXPECT_TRUE(found == one || found == two) << "round " << round << ", size " << found.size();
    }
    EXPECT_EQ(store.update(item("a"), withData({}, "after")), errSecSuccess);
    EXPECT_EQ(data("a"), "after");
}

TEST_F(EmbeddedKeychain, ServesManyThreads) {
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([this, name = std::to_string(number)] {
            for (int round = 0; round < 10; ++round) {
                EXPECT_EQ(store.add(withData(item(name), name)), errSecSuccess);
                EXPECT_EQ(data(name), name);
                EXPECT_EQ(store.remove(item(name)), errSecSuccess);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST(PersonalKeychain, LiesInTheDataHome) {
    const platform::testing::TemporaryFolder home;
    EXPECT_EQ(runInChild([&] {
                  const platform::testing::ScopedEnvironment environment(
                      {{"XDG_DATA_HOME", home.path().string()}, {"VELA_KEYCHAIN", std::nullopt}});
                  return SecItemAdd(withData(item("a"), "x"));
              }),
              0);
    EXPECT_EQ(mode(home.path() / "vela" / "keychain.sqlite"), 0600u);
}

TEST(PersonalKeychain, IsNoneForAnUnknownKind) {
    const platform::testing::TemporaryFolder home;
    EXPECT_EQ(runInChild([&] {
                  const platform::testing::ScopedEnvironment environment(
                      {{"XDG_DATA_HOME", home.path().string()}, {"VELA_KEYCHAIN", "secret-servise"}});
                  const bool isRefused =
                      SecItemAdd(withData(item("a"), "x")) == errSecNotAvailable &&
                      SecItemCopyMatching(item("a"), nullptr) == errSecNotAvailable &&
                      SecItemFault().find("it may be embedded or secret-service") != std::string::npos;
                  return isRefused ? 0 : 1;
              }),
              0);
    EXPECT_TRUE(fs::is_empty(home.path()));
}

}  // namespace
}  // namespace platform
