// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/platform/URLSessionFixture.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform {
namespace {

using platform::testing::httpReply;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;

class WholeResource : public platform::testing::URLSessionTest {
  protected:
    /// The resource, or "error" and the code.
    static std::string read(const std::string& url, std::size_t maximumSize = 1 << 20) {
        try {
            return readWholeResource(URL::parse(url).value(), maximumSize);
        } catch (const URLError& error) {
            return failed(error.code());
        }
    }
    static std::string failed(URLErrorCode code) { return "error " + std::to_string(static_cast<int>(code)); }
    std::string fileURL(const std::string& name) { return "file://" + (folder.path() / name).string(); }

    const std::string unreadable = failed(URLErrorCode::cannotReadResource);
    const std::string tooLong = failed(URLErrorCode::dataLengthExceedsMaximum);
    platform::testing::TemporaryFolder folder;
};

TEST_F(WholeResource, IsReadOverHTTPOnOneConnection) {
    const LoopbackServer server(httpReply(200, "picture"));
    for (int count = 0; count < 3; ++count) EXPECT_EQ(read(server.url("/a.png").absoluteString()), "picture");
    EXPECT_EQ(server.connections(), 1);
    EXPECT_EQ(server.requests().front().headerLines().size(), 2u);
}

TEST_F(WholeResource, IsWhatARedirectLeadsTo) {
    const LoopbackServer server([](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
        peer.send(request.target() == "/new" ? httpReply(200, "arrived")
                                             : httpReply(302, "", {"Location: /new"}));
    });
    EXPECT_EQ(read(server.url("/old").absoluteString()), "arrived");
    const LoopbackServer toFile(httpReply(302, "", {"Location: file:///etc/passwd"}));
    EXPECT_EQ(read(toFile.url().absoluteString()), failed(URLErrorCode::unsupportedURL));
    const LoopbackServer loop(httpReply(302, "", {"Location: /"}));
    EXPECT_EQ(read(loop.url().absoluteString()), failed(URLErrorCode::tooManyRedirects));
}

TEST_F(WholeResource, IsNoneWhereTheServerHasNone) {
    for (const int status : {404, 500, 304}) {
        const LoopbackServer server("HTTP/1.1 " + std::to_string(status) +
                                    " No\r\nContent-Length: 0\r\n\r\n");
        EXPECT_EQ(read(server.url().absoluteString()), unreadable) << status;
    }
    EXPECT_EQ(read("http://127.0.0.1:" + std::to_string(platform::testing::unusedPort()) + "/"),
              failed(URLErrorCode::cannotConnectToHost));
    EXPECT_EQ(read("velaapp://picture"), failed(URLErrorCode::unsupportedURL));
}

TEST_F(WholeResource, IsBoundedWhereverItComesFrom) {
    const LoopbackServer server(httpReply(200, "123456"));
    folder.write("six", "123456");
    for (const std::string& url :
         {server.url().absoluteString(), fileURL("six"), std::string("data:,123456")}) {
        EXPECT_EQ(read(url, 6), "123456") << url;
        EXPECT_EQ(read(url, 5), tooLong) << url;
    }
}

TEST_F(WholeResource, IsReadFromAFileByItsDecodedPath) {
    folder.write("a b%c", std::string("bytes\0\xff", 7));
    folder.write("empty", "");
    EXPECT_EQ(read(fileURL("a%20b%25c")), std::string("bytes\0\xff", 7));
    EXPECT_EQ(read("file://localhost" + (folder.path() / "empty").string()), "");
    EXPECT_EQ(read("file:///proc/self/comm").empty(), false);
}

TEST_F(WholeResource, IsNeverAFolderADeviceOrAPipe) {
    ASSERT_EQ(::mkfifo((folder.path() / "pipe").c_str(), 0600), 0);
    folder.write("file", "x");
    for (const std::string& url :
         {fileURL(""), fileURL("pipe"), fileURL("missing"), fileURL("file/below"), fileURL("file%00"),
          std::string("file:///dev/zero"), std::string("file:///dev/tty"), std::string("file:///"),
          std::string("file://elsewhere.example/etc/hostname")}) {
        EXPECT_EQ(read(url), unreadable) << url;
    }
}

TEST_F(WholeResource, IsReadFromADataURL) {
    struct Row {
        const char* url;
        std::string expected;
    };
    const std::vector<Row> rows = {
        {"data:,", ""},
        {"data:,a%20b", "a b"},
        {"data:text/plain;charset=utf-8,a,b", "a,b"},
        {"data:,text#fragment", "text"},
        {"data:image/png;base64,iVBORw0K", "\x89PNG\r\n"},
        {"DATA:;BASE64,YQ==", "a"},
        {"data:;base64,YQ", "a"},
        {"data:;base64,YWI=", "ab"},
        {"data:;base64,YW%20Jj%0A", "abc"},
        {"data:;base64,%2B%2F%2B%2F", "\xfb\xff\xbf"},
        {"data:;base64,", ""},
        {"data:;base64,Y", unreadable},
        {"data:;base64,YQ=", unreadable},
        {"data:;base64,YQ===", unreadable},
        {"data:;base64,Y=Q=", unreadable},
        {"data:;base64,Y*==", unreadable},
        {"data:text/plain", unreadable},
    };
    for (const Row& row : rows) EXPECT_EQ(read(row.url), row.expected) << row.url;
}

}  // namespace
}  // namespace platform
