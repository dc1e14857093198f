// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "tests/host/Person.hpp"
#include "tests/support/LoopbackServer.hpp"

namespace host {
namespace {

namespace fs = std::filesystem;
using platform::testing::httpReply;
using platform::testing::LoopbackServer;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* noPackages =
    R"({"data":{"__typename":"Query","deliveriesOrdersList":{"__typename":"DeliveriesOrdersListConnection","nodes":[]}}})";

/// A signed-in person whose defaults name a server that another user may have put there.
class UntrustedFiles : public Person {
  protected:
    UntrustedFiles() {
        environment["BASE_URL"] = address(own);
        signIn();
        const auto written = companion({"defaults", "write", "PONTAL_URL", address(planted)});
        EXPECT_EQ(written.status, 0) << written.errors;
    }

    static std::string address(const LoopbackServer& server) {
        return "http://127.0.0.1:" + std::to_string(server.port());
    }

    static void setMode(const fs::path& path, mode_t mode) { ASSERT_EQ(::chmod(path.c_str(), mode), 0); }

    /// Every command that needs the defaults fails, names `path` in one line, and is not killed.
    void expectRefusals(const fs::path& path) {
        for (const auto& arguments :
             std::vector<std::vector<std::string>>{{"status"},
                                                   {"defaults", "read", "PONTAL_URL"},
                                                   {"defaults", "write", "key", "value"},
                                                   {"defaults", "delete", "PONTAL_URL"},
                                                   {"open", "--print", "velaapp://order/1"}}) {
            const auto result = companion(arguments);
            EXPECT_EQ(result.status, 1) << arguments.front();
            EXPECT_THAT(result.errors, StartsWith("vela-companion: " + path.string())) << arguments.front();
            EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
        }
    }

    const LoopbackServer own = LoopbackServer(httpReply(200, noPackages));
    const LoopbackServer planted = LoopbackServer(httpReply(200, noPackages));
};

TEST_F(UntrustedFiles, SendNoTokenToAnAddressThatOthersCanChange) {
    for (const mode_t open : {0620u, 0602u, 0666u}) {
        setMode(defaultsFile(), open);
        const auto result = widget({"timeline"});
        EXPECT_EQ(state(result), "noPackages");
        EXPECT_EQ(result.errors,
                  "error: " + defaultsFile().string() +
                      " is not trusted: other users can change it; make sure that it holds what it should, "
                      "then: chmod 600 " +
                      defaultsFile().string() + "\n");
    }
    EXPECT_EQ(planted.requests().size(), 0u);
    EXPECT_EQ(own.requests().size(), 3u);
    setMode(defaultsFile(), 0644);
    EXPECT_EQ(state(widget({"timeline"})), "noPackages");
    EXPECT_EQ(planted.requests().size(), 1u);
}

TEST_F(UntrustedFiles, StopTheExtensionWhereTheyAreFolders) {
    const auto suite = defaultsFile().parent_path();
    for (const auto& [path, open] : {std::pair(suite, 0770u), std::pair(suite, 0777u),
                                     std::pair(suite, 01777u), std::pair(suite.parent_path(), 0777u)}) {
        setMode(path, open);
        const auto result = widget({"timeline"});
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.errors, StartsWith("fatal error: The shared defaults suite "
                                              "group.com.tervane.pontal.shared cannot be opened: " +
                                              path.string() + " is not trusted"));
        setMode(path, 0700);
    }
    EXPECT_EQ(planted.requests().size() + own.requests().size(), 0u);
    EXPECT_EQ(state(widget({"timeline"})), "noPackages");
}

TEST_F(UntrustedFiles, SendNoTokenWhereAnotherUserPutThem) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root gives files away";
    constexpr uid_t stranger = 54321;
    ASSERT_EQ(::chown(defaultsFile().c_str(), stranger, stranger), 0);
    EXPECT_EQ(state(widget({"timeline"})), "noPackages");
    expectRefusals(defaultsFile());
    ASSERT_EQ(::chown(defaultsFile().c_str(), 0, 0), 0);
    for (const auto& made : {defaultsFile().parent_path(), defaultsFile().parent_path().parent_path()}) {
        ASSERT_EQ(::chown(made.c_str(), stranger, stranger), 0);
        EXPECT_EQ(widget({"timeline"}).status, 1);
        ASSERT_EQ(::chown(made.c_str(), 0, 0), 0);
    }
    EXPECT_EQ(planted.requests().size(), 0u);
}

TEST_F(UntrustedFiles, AreRefusedByEveryCommandOfTheCompanion) {
    const auto suite = defaultsFile().parent_path();
    setMode(defaultsFile(), 0666);
    expectRefusals(defaultsFile());
    setMode(suite, 0777);
    expectRefusals(suite);
    fs::remove_all(suite);
    fs::create_directory_symlink("/", suite);
    expectRefusals(suite);
    fs::remove(suite);
    std::ofstream(suite) << "no folder";
    expectRefusals(suite);
    fs::remove(suite);
    fs::create_directories(defaultsFile());
    expectRefusals(defaultsFile());
}

TEST_F(UntrustedFiles, LeaveTheKeychainsHalfOfTheStatus) {
    setMode(defaultsFile().parent_path(), 0777);
    const auto result = companion({"status"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output,
              "signed in: yes\naccess token: stored\nrefresh token: stored\nlegacy access token: none\n"
              "legacy refresh token: none\nsession: none\nkeychain: embedded\nkept in: " +
                  keychainFile().string() + "\n");
}

TEST_F(UntrustedFiles, LeaveTheDefaultsHalfOfTheStatus) {
    setMode(keychainFile(), 0640);
    const auto result = companion({"status"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "user id: 12345\naccount server: " + address(planted) +
                                 "\nkeychain: embedded\nkept in: " + keychainFile().string() + "\n");
    EXPECT_THAT(result.errors, EndsWith("mend it with: chmod 600 " + keychainFile().string() + "\n"));
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
}

TEST_F(UntrustedFiles, AreWhySignOutFailed) {
    setMode(keychainFile(), 0666);
    auto result = companion({"sign-out"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, HasSubstr("chmod 600 " + keychainFile().string()));
    setMode(keychainFile(), 0600);
    setMode(defaultsFile(), 0666);
    result = companion({"sign-out"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.errors, HasSubstr("chmod 600 " + defaultsFile().string()));
    setMode(defaultsFile(), 0600);
    result = companion({"sign-out"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
}

}  // namespace
}  // namespace host
