// SPDX-License-Identifier: Apache-2.0

// What a sandbox answers to whom it was asked for.

#include <boost/json/object.hpp>

#include "sandbox/HostField.hpp"
#include "tests/sandbox/RunningSandbox.hpp"

#include <gtest/gtest.h>

namespace {

using tests::at;
using tests::Connection;
using tests::RunningSandbox;

bool answersTo(const std::vector<std::string>& hosts) {
    sandbox::Request request{.method = "GET", .target = "/"};
    request.headers.push_back({"Accept", "*/*"});
    for (const std::string& host : hosts) request.headers.push_back({"hOST", host});
    return isAddressedToLoopback(request, "40123");
}

TEST(HostField, NamesThisMachineAndItsPort) {
    for (const char* host : {"127.0.0.1:40123", "localhost:40123", "LocalHost:40123", "[::1]:40123",
                             "127.0.0.1", "localhost", "[::1]"}) {
        EXPECT_TRUE(answersTo({host})) << host;
    }
}

TEST(HostField, NamesNobodyElse) {
    for (const char* host : {"",
                             ":40123",
                             "evil.example",
                             "evil.example:40123",
                             "127.0.0.1.evil.example:40123",
                             "localhost.:40123",
                             "localhost.evil.example",
                             "127.0.0.1:40124",
                             "127.0.0.1:",
                             "127.0.0.1:040123",
                             "127.0.0.1:40123 ",
                             "127.0.0.1:40123:40123",
                             "127.0.0.2:40123",
                             "127.1:40123",
                             "0.0.0.0:40123",
                             "::1",
                             "[::1",
                             "[::2]:40123",
                             "user@127.0.0.1:40123",
                             "192.168.1.5:40123"}) {
        EXPECT_FALSE(answersTo({host})) << host;
    }
    EXPECT_FALSE(answersTo({}));
    EXPECT_FALSE(answersTo({"127.0.0.1:40123", "127.0.0.1:40123"}));
    EXPECT_FALSE(answersTo({"127.0.0.1:40123", "evil.example"}));
}

TEST(HostField, IsCheckedForWhateverIsAsked) {
    const RunningSandbox sandbox(tests::serving("everyday"));
    const std::string port = sandbox.baseURL().substr(sandbox.baseURL().rfind(':'));
    for (const char* target : {"/", "/events", "/graphql", "/v1/produce", "/pictures/logos/orchard.png"}) {
        for (const char* method : {"GET", "POST"}) {
            Connection connection(sandbox.baseURL());
            const auto ask = [&](const std::string& host) {
                connection.send(std::string(method) + " " + target + " HTTP/1.1\r\nHost: " + host +
                                "\r\n\r\n");
                return connection.receive().status;
            };
            EXPECT_EQ(ask("evil.example" + port), 421) << method << target;
            EXPECT_NE(ask("localhost" + port), 421) << method << target;
        }
    }
    EXPECT_EQ(at(sandbox.log(), "/requests/0/outcome").as_string(), "misdirected");
}

TEST(HostField, IsCheckedAtTheSecondPortToo) {
    sandbox::Faults faults;
    faults.redirection = sandbox::Redirection::crossOrigin;
    const RunningSandbox sandbox(tests::serving("everyday", faults));
    const std::string there = sandbox.query().value("Location");
    const std::string origin = there.substr(0, there.find('/', std::string("http://").size()));
    const std::string port = origin.substr(origin.rfind(':'));
    for (const std::string& host :
         {"127.0.0.1" + port, "127.0.0.1" + sandbox.baseURL().substr(sandbox.baseURL().rfind(':'))}) {
        Connection connection(origin);
        connection.send("GET / HTTP/1.1\r\nHost: " + host + "\r\n\r\n");
        EXPECT_EQ(connection.receive().status, host.ends_with(port) ? 200 : 421) << host;
    }
}

}  // namespace
