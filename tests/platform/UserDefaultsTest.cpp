// SPDX-License-Identifier: Apache-2.0

#include "platform/UserDefaults/UserDefaults.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/json/array.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <chrono>
#include <limits>
#include <thread>

#include "tests/support/ChildProcess.hpp"
#include "tests/support/InMemoryUserDefaults.hpp"
#include "tests/support/RecordingLogSink.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform {
namespace {

namespace fs = std::filesystem;
namespace json = boost::json;
using platform::testing::ChildProcess;
using platform::testing::runInChild;
using platform::testing::runWithoutPrivileges;

class Suite : public ::testing::Test {
  protected:
    void put(std::string_view text) { home.write("group.test/preferences.json", text); }
    std::string kept() { return home.read("group.test/preferences.json"); }
    std::unique_ptr<UserDefaults> open() { return UserDefaults::suite("group.test", home.path()); }

    platform::testing::TemporaryFolder home;
    fs::path folder = home.path() / "group.test";
    fs::path file = folder / "preferences.json";
    std::unique_ptr<UserDefaults> suite = open();
};

mode_t modeOf(const fs::path& path) {
    struct stat found = {};
    return ::stat(path.c_str(), &found) == 0 ? found.st_mode & 07777 : 0;
}

TEST_F(Suite, IsEmptyAndMakesNothingUntilSomethingIsWritten) {
    EXPECT_EQ(suite->objectForKey("key"), std::nullopt);
    EXPECT_EQ(suite->stringForKey("key"), std::nullopt);
    suite->removeObject("key");
    EXPECT_TRUE(fs::is_empty(home.path()));
}

TEST_F(Suite, IsItsOwnersAlone) {
    const mode_t before = ::umask(0);
    suite->setObject("key", "value");
    ::umask(before);
    EXPECT_EQ(modeOf(folder), 0700u);
    EXPECT_EQ(modeOf(file), 0600u);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
}

TEST_F(Suite, GivesValuesAsTyped) {
    const json::value values = json::parse(
        R"({"text":"a","empty":"","integer":-7,"large":18446744073709551615,"double":0.5,"bool":true,"null":null,
            "array":[1,"b"],"object":{"k":"v"},"":"no name","\u00e9":"\ud83d\ude00"})");
    for (const auto& [key, value] : values.get_object()) suite->setObject(key, value);
    for (const auto& [key, value] : values.get_object()) EXPECT_EQ(open()->objectForKey(key), value) << key;
}

TEST_F(Suite, GivesTextForTextAndNumbersOnly) {
    put(R"({"text":"a","integer":-7,"large":18446744073709551615,"small":-9223372036854775808,"double":0.6,"whole":5.0,
            "bool":true,"null":null,"array":["a"],"object":{}})");
    const std::vector<std::pair<const char*, std::optional<std::string>>> rows = {
        {"text", "a"},
        {"integer", "-7"},
        {"large", "18446744073709551615"},
        {"small", "-9223372036854775808"},
        {"double", "0.6"},
        {"whole", "5"},
        {"bool", std::nullopt},
        {"null", std::nullopt},
        {"array", std::nullopt},
        {"object", std::nullopt},
        {"absent", std::nullopt},
    };
    for (const auto& [key, expected] : rows) EXPECT_EQ(suite->stringForKey(key), expected) << key;
}

TEST_F(Suite, IsReadAfreshAtEveryAccess) {
    suite->setObject("key", "first");
    EXPECT_EQ(suite->stringForKey("key"), "first");
    open()->setObject("key", "second");
    EXPECT_EQ(suite->stringForKey("key"), "second");
    fs::remove(file);
    EXPECT_EQ(suite->stringForKey("key"), std::nullopt);
}

TEST_F(Suite, ForgetsWhatIsRemoved) {
    suite->setObject("a", 1);
    suite->setObject("b", 2);
    suite->removeObject("a");
    suite->removeObject("absent");
    EXPECT_EQ(kept(), R"({"b":2})");
}

TEST_F(Suite, ReadsAsEmptyWhereItsFileIsDamagedAndSaysSoOnce) {
    const std::vector<std::pair<const char*, std::string>> rows = {
        {"half-written", R"({"key":"val)"},
        {"empty", ""},
        {"a list", R"(["key"])"},
        {"a text", R"("key")"},
        {"not UTF-8", "{\"key\":\"\xff\"}"},
        {"two objects", R"({"key":"a"}{"key":"b"})"},
        {"zeroes", std::string(4096, '\0')},
        {"nested too deep", "{\"key\":" + std::string(100000, '[') + std::string(100000, ']') + "}"},
        {"50 MB", "{\"key\":\"" + std::string(std::size_t{50} << 20, 'x') + "\"}"},
    };
    for (const auto& [damage, text] : rows) {
        SCOPED_TRACE(damage);
        put(text);
        const auto damaged = open();
        const platform::testing::RecordingLogSink log;
        EXPECT_EQ(damaged->objectForKey("key"), std::nullopt);
        EXPECT_EQ(damaged->objectForKey("key"), std::nullopt);
        EXPECT_EQ(log.lines().size(), 1u);
        EXPECT_THROW(damaged->setObject("other", 1), UserDefaultsError);
        EXPECT_THROW(damaged->removeObject("key"), UserDefaultsError);
        EXPECT_TRUE(kept() == text);
    }
}

TEST_F(Suite, NeverQuotesWhatItHolds) {
    put(R"({"userId":"a-private-value)");
    const platform::testing::RecordingLogSink log;
    EXPECT_EQ(suite->objectForKey("userId"), std::nullopt);
    EXPECT_THAT(log.messages(), ::testing::ElementsAre(::testing::Not(::testing::HasSubstr("private"))));
}

TEST_F(Suite, ReadsAsEmptyWhereItsFileIsNone) {
    fs::create_directories(file);
    const platform::testing::RecordingLogSink log;
    EXPECT_EQ(suite->objectForKey("key"), std::nullopt);
    EXPECT_THROW(suite->setObject("key", 1), UserDefaultsError);
    EXPECT_TRUE(fs::is_directory(file));
    fs::remove(file);
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(suite->objectForKey("key"), std::nullopt);
    EXPECT_THROW(suite->setObject("key", 1), UserDefaultsError);
}

TEST_F(Suite, ReadsAsEmptyWhereItsFileMayNotBeRead) {
    suite->setObject("key", "kept");
    ASSERT_EQ(::chmod(file.c_str(), 0), 0);
    ASSERT_EQ(::chmod(folder.c_str(), 0755), 0);
    ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0);
    EXPECT_EQ(runWithoutPrivileges([&] {
                  try {
                      suite->setObject("key", "other");
                  } catch (const UserDefaultsError&) {
                      return suite->objectForKey("key") ? 1 : 0;
                  }
                  return 1;
              }),
              0);
    ASSERT_EQ(::chmod(file.c_str(), 0600), 0);
    EXPECT_EQ(suite->stringForKey("key"), "kept");
}

TEST_F(Suite, RefusesValuesThatCouldNotBeReadAgain) {
    suite->setObject("key", "kept");
    json::value deep = json::array();
    for (int depth = 0; depth < 2000; ++depth) deep = json::array({deep});
    const std::vector<json::value> values = {deep, std::numeric_limits<double>::infinity(), "\xff",
                                             json::string(5 << 20, 'x')};
    for (const json::value& value : values) EXPECT_THROW(suite->setObject("key", value), UserDefaultsError);
    EXPECT_EQ(kept(), R"({"key":"kept"})");
}

TEST_F(Suite, KeepsTheOldValuesWhenTheDiskIsFull) {
    suite->setObject("key", "kept");
    EXPECT_EQ(runInChild([&] {
                  ::signal(SIGXFSZ, SIG_IGN);
                  const rlimit limit = {100, 100};
                  ::setrlimit(RLIMIT_FSIZE, &limit);
                  try {
                      suite->setObject("key", json::string(10000, 'x'));
                  } catch (const UserDefaultsError&) {
                      return 0;
                  }
                  return 1;
              }),
              0);
    EXPECT_EQ(kept(), R"({"key":"kept"})");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
}

constexpr const char* oldAndOther = R"({"key":"old","other":1})";
constexpr const char* otherAlone = R"({"other":1})";

TEST_F(Suite, ReplacesAValueInTwoStepsThatNeedNoRoom) {
    struct Row {
        const char* before;
        std::optional<json::value> value;
        const char* withdrawn;
        const char* after;
    };
    const std::vector<Row> rows = {
        {oldAndOther, "new", otherAlone, R"({"other":1,"key":"new"})"},
        {oldAndOther, std::nullopt, otherAlone, otherAlone},
        {otherAlone, "new", otherAlone, R"({"other":1,"key":"new"})"},
        {otherAlone, std::nullopt, otherAlone, otherAlone},
    };
    for (const Row& row : rows) {
        for (const bool isCommitted : {true, false}) {
            put(row.before);
            EXPECT_EQ(runInChild([&] {
                          const auto replacement = suite->prepareReplacement("key", row.value);
                          if (kept() != row.before) return 1;
                          ::signal(SIGXFSZ, SIG_IGN);
                          const rlimit limit = {0, 0};
                          ::setrlimit(RLIMIT_FSIZE, &limit);
                          replacement->withdraw();
                          if (kept() != row.withdrawn) return 2;
                          if (isCommitted) replacement->commit();
                          return 0;
                      }),
                      0)
                << row.before;
            EXPECT_EQ(kept(), isCommitted ? row.after : row.before);
            EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
        }
    }
}

TEST_F(Suite, IsNotMadeByAReplacementThatRemovesNothing) {
    const auto replacement = suite->prepareReplacement("key", std::nullopt);
    replacement->withdraw();
    replacement->commit();
    EXPECT_FALSE(fs::exists(folder));
}

TEST_F(Suite, IsWhollyAsItWasWhereAReplacementFindsNoRoom) {
    put(oldAndOther);
    for (const rlim_t room : {0, 15, 25, 100}) {
        EXPECT_EQ(runInChild([&] {
                      ::signal(SIGXFSZ, SIG_IGN);
                      const rlimit limit = {room, room};
                      ::setrlimit(RLIMIT_FSIZE, &limit);
                      try {
                          suite->prepareReplacement("key", json::string(100, 'x'));
                      } catch (const UserDefaultsError&) {
                          return 0;
                      }
                      return 1;
                  }),
                  0)
            << room;
        EXPECT_EQ(kept(), oldAndOther) << room;
        EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1) << room;
    }
}

TEST_F(Suite, LetsNobodyWriteWhileAValueIsReplaced) {
    put(oldAndOther);
    const auto replacement = suite->prepareReplacement("key", "new");
    EXPECT_THROW(suite->setObject("other", 2), UserDefaultsError);
    replacement->commit();
    EXPECT_EQ(kept(), R"({"other":1,"key":"new"})");
}

TEST_F(Suite, KeepsNothingOfAReplacementThatWasKilledBeyondTheNextWrite) {
    put(oldAndOther);
    runInChild([&]() -> int {
        const auto replacement = suite->prepareReplacement("key", "new");
        replacement->withdraw();
        ::_exit(0);
    });
    EXPECT_EQ(kept(), otherAlone);
    suite->setObject("other", 2);
    EXPECT_EQ(kept(), R"({"other":2})");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
}

TEST_F(Suite, LosesNothingOfTwoWritersAtOnce) {
    constexpr int count = 50;
    const auto write = [this](const std::string& name) {
        return [this, name] {
            for (int number = 0; number < count; ++number)
                suite->setObject(name + std::to_string(number), number);
            return 0;
        };
    };
    ChildProcess first(write("first"));
    ChildProcess second(write("second"));
    EXPECT_EQ(first.wait(), 0);
    EXPECT_EQ(second.wait(), 0);
    EXPECT_EQ(json::parse(kept()).get_object().size(), 2u * count);
}

TEST_F(Suite, LetsInWhoWaitsForOneThatWritesAgainAndAgain) {
    const ChildProcess busy([this] {
        // As on a disk that is slow to say that it has written.
        for (;;) {
            const auto replacement = suite->prepareReplacement("busy", "text");
            ::usleep(200'000);
            replacement->commit();
        }
        return 0;
    });
    while (!suite->objectForKey("busy")) ::usleep(1000);
    for (int number = 0; number < 3; ++number) EXPECT_NO_THROW(suite->setObject("other", number));
    EXPECT_EQ(suite->stringForKey("other"), "2");
}

TEST_F(Suite, HoldsOldOrNewValuesAfterAKillAtAnyInstant) {
    const json::string one(50000, '1');
    const json::string two(50000, '2');
    suite->setObject("key", one);
    for (int round = 0; round < 40; ++round) {
        ChildProcess writer([&] {
            for (;;) {
                suite->setObject("key", two);
                suite->setObject("key", one);
            }
            return 0;
        });
        std::this_thread::sleep_for(std::chrono::microseconds(round * 731 % 20000));
        writer.kill();
        writer.wait();
        const auto found = suite->objectForKey("key");
        EXPECT_TRUE(found && (*found == one || *found == two)) << "round " << round;
    }
    suite->setObject("key", "after");
    EXPECT_EQ(kept(), R"({"key":"after"})");
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
}

TEST_F(Suite, GivesUpOnALockThatIsNeverReleased) {
    suite->setObject("key", "kept");
    const int holder = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(::flock(holder, LOCK_EX), 0);
    EXPECT_THROW(suite->setObject("key", "other"), UserDefaultsError);
    EXPECT_EQ(suite->stringForKey("key"), "kept");
    ::close(holder);
    suite->setObject("key", "other");
    EXPECT_EQ(suite->stringForKey("key"), "other");
}

bool isUsable(const std::string& name, const fs::path& dataHome) {
    try {
        UserDefaults::suite(name, dataHome);
        return true;
    } catch (const UserDefaultsError&) {
        return false;
    }
}

TEST(SuiteFolder, MustBeUsable) {
    const platform::testing::TemporaryFolder home;
    home.write("file", "");
    EXPECT_TRUE(isUsable("name", home.path()));
    EXPECT_TRUE(isUsable("name", home.path() / "to" / "come"));
    EXPECT_FALSE(isUsable("file", home.path()));
    EXPECT_FALSE(isUsable("name", home.path() / "file"));
    EXPECT_FALSE(isUsable("name", "relative"));
    for (const std::string& name : {std::string(), std::string("."), std::string(".."), std::string("a/b"),
                                    std::string("a\0b", 3), std::string(256, 'x')}) {
        EXPECT_FALSE(isUsable(name, home.path())) << name;
    }
    fs::create_directories(home.path() / "closed" / "name");
    ASSERT_EQ(::chmod((home.path() / "closed").c_str(), 0700), 0);
    ASSERT_EQ(::chmod(home.path().c_str(), 0755), 0);
    if (::geteuid() != 0) ::chmod((home.path() / "closed").c_str(), 0);
    EXPECT_EQ(runWithoutPrivileges([&] { return isUsable("name", home.path() / "closed") ? 1 : 0; }), 0);
    ::chmod((home.path() / "closed").c_str(), 0700);
}

TEST_F(Suite, IsNotReadAndNotChangedWhereOthersCanChangeIt) {
    suite->setObject("key", "value");
    const std::vector<std::pair<fs::path, mode_t>> rows = {
        {file, 0620}, {file, 0602}, {file, 0666}, {folder, 0770}, {folder, 0777}, {home.path(), 0777}};
    for (const auto& [path, open] : rows) {
        SCOPED_TRACE(path);
        const mode_t before = modeOf(path);
        const auto refused = this->open();
        ASSERT_EQ(::chmod(path.c_str(), open), 0);
        const platform::testing::RecordingLogSink log;
        EXPECT_EQ(refused->objectForKey("key"), std::nullopt);
        EXPECT_EQ(refused->stringForKey("key"), std::nullopt);
        EXPECT_THAT(log.messages(),
                    ::testing::ElementsAre(::testing::HasSubstr(path.string() + " is not trusted")));
        EXPECT_THROW(refused->requireReadable(), UserDefaultsError);
        EXPECT_THROW(refused->setObject("key", "other"), UserDefaultsError);
        EXPECT_THROW(refused->removeObject("key"), UserDefaultsError);
        EXPECT_EQ(isUsable("group.test", home.path()), path == file);
        ASSERT_EQ(::chmod(path.c_str(), before), 0);
        EXPECT_EQ(refused->stringForKey("key"), "value");
        EXPECT_NO_THROW(refused->requireReadable());
    }
}

TEST_F(Suite, IsReadWhereOthersCanReadItAndItsOwnersAloneAfterAWrite) {
    suite->setObject("key", "value");
    ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
    EXPECT_EQ(suite->stringForKey("key"), "value");
    suite->setObject("key", "other");
    EXPECT_EQ(modeOf(file), 0600u);
}

TEST_F(Suite, IsNotReadThroughALink) {
    suite->setObject("key", "value");
    fs::rename(file, home.path() / "elsewhere");
    fs::create_symlink(home.path() / "elsewhere", file);
    const platform::testing::RecordingLogSink log;
    EXPECT_EQ(suite->stringForKey("key"), std::nullopt);
    EXPECT_THROW(suite->setObject("key", "other"), UserDefaultsError);
    fs::rename(folder, home.path() / "group.elsewhere");
    fs::create_directory_symlink("group.elsewhere", folder);
    EXPECT_EQ(suite->stringForKey("key"), std::nullopt);
    EXPECT_FALSE(isUsable("group.test", home.path()));
}

TEST(SuiteFolder, LiesInTheDataHome) {
    const platform::testing::TemporaryFolder home;
    {
        const platform::testing::ScopedEnvironment environment({{"XDG_DATA_HOME", home.path().string()}});
        UserDefaults::suite("name")->setObject("key", "data home");
    }
    EXPECT_EQ(home.read("name/preferences.json"), R"({"key":"data home"})");
    const platform::testing::ScopedEnvironment environment(
        {{"XDG_DATA_HOME", std::nullopt}, {"HOME", home.path().string()}});
    UserDefaults::suite("name")->setObject("key", "home");
    EXPECT_EQ(home.read(".local/share/name/preferences.json"), R"({"key":"home"})");
}

TEST(SuiteInMemory, BehavesLikeTheKeptOne) {
    platform::testing::InMemoryUserDefaults suite({{"number", 7}});
    suite.setObject("text", "a");
    EXPECT_EQ(suite.stringForKey("text"), "a");
    EXPECT_EQ(suite.stringForKey("number"), "7");
    suite.removeObject("text");
    suite.removeObject("absent");
    EXPECT_EQ(suite.objectForKey("text"), std::nullopt);
    suite.prepareReplacement("number", 8)->withdraw();
    EXPECT_EQ(suite.stringForKey("number"), "7");
    suite.prepareReplacement("number", 8)->commit();
    EXPECT_EQ(suite.stringForKey("number"), "8");
}

}  // namespace
}  // namespace platform
