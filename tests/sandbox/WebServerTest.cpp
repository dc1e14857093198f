// SPDX-License-Identifier: Apache-2.0

#include "sandbox/WebServer.hpp"

#include <boost/system/system_error.hpp>
#include <stdexcept>
#include <thread>

#include "sandbox/EventLogReader.hpp"
#include "tests/sandbox/RunningSandbox.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using sandbox::Origin;
using sandbox::Request;
using sandbox::Served;
using sandbox::WebServer;
using tests::Connection;
using tests::RunningSandbox;
using tests::serving;
using tests::signedInQuery;

TEST(Connection, IsKeptBetweenRequests) {
    const RunningSandbox sandbox(serving("one"));
    Connection connection(sandbox.baseURL());
    for (int turn = 0; turn < 3; ++turn) {
        connection.send(signedInQuery());
        EXPECT_EQ(connection.receive().status, 200);
    }
}

TEST(TLS, ServesThoseWhoTrustItsAuthority) {
    sandbox::SandboxOptions options = serving("one");
    options.transport = sandbox::Transport::tls;
    const RunningSandbox sandbox(options);
    EXPECT_EQ(sandbox.baseURL().rfind("https://127.0.0.1:", 0), 0u);
    ASSERT_TRUE(sandbox.certificates().has_value());
    Connection connection(sandbox.baseURL(), sandbox.certificates()->authority);
    connection.send(signedInQuery());
    EXPECT_EQ(connection.receive().status, 200);
    EXPECT_THROW(Connection(sandbox.baseURL()), boost::system::system_error);
}

TEST(TLS, ShowsItsLogToThoseWhoTrustItsAuthority) {
    sandbox::SandboxOptions options = serving("one");
    options.transport = sandbox::Transport::tls;
    const RunningSandbox sandbox(options);
    EXPECT_THAT(sandbox::readEventLog(sandbox.baseURL(), sandbox.certificates()->authority),
                testing::HasSubstr("\"requestCount\""));
}

TEST(WebServer, OutlivesRequestsThatAreNone) {
    const RunningSandbox sandbox(serving("one"));
    for (const std::string& text :
         {std::string("\r\n\r\n"), std::string("GET\r\n\r\n"), std::string(1 << 20, 'a'),
          std::string("POST /graphql HTTP/1.1\r\nContent-Length: 99999999999\r\n\r\n")}) {
        try {
            Connection connection(sandbox.baseURL());
            connection.send(text);
            connection.receive();
        } catch (const boost::system::system_error&) {
            continue;
        }
    }
    EXPECT_EQ(sandbox.query().status, 200);
}

TEST(WebServer, SaysThatAPortIsTaken) {
    const RunningSandbox sandbox(serving("one"));
    sandbox::SandboxOptions options = serving("one");
    const std::string url = sandbox.baseURL();
    options.port = static_cast<unsigned short>(std::stoi(url.substr(url.rfind(':') + 1)));
    EXPECT_THROW(sandbox::Sandbox second(options), std::runtime_error);
}

TEST(WebServer, SaysWhyARequestWasNotAnsweredAndServesTheNext) {
    WebServer server({}, [](const Request& request) -> Served {
        if (request.path() == "/broken") throw std::runtime_error("the shelf is empty");
        return {.response = {.body = "{}"}};
    });
    testing::internal::CaptureStderr();
    std::thread thread([&server] { server.run(); });
    Connection broken(server.url(Origin::first));
    broken.send(tests::requestText("GET", "/broken", {}, {}));
    EXPECT_TRUE(broken.isClosedByPeer());
    Connection sound(server.url(Origin::first));
    sound.send(tests::requestText("GET", "/sound", {}, {}));
    EXPECT_EQ(sound.receive().status, 200);
    server.stop();
    thread.join();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "vela-sandbox: a request could not be answered: the shelf is empty\n");
}

}  // namespace
