// SPDX-License-Identifier: Apache-2.0

#include <zlib.h>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>

#include "tests/sandbox/RunningSandbox.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using sandbox::Faults;
using sandbox::FaultScope;
using sandbox::Manner;
using sandbox::Redirection;
using tests::at;
using tests::Connection;
using tests::Reply;
using tests::RunningSandbox;
using tests::serving;
using tests::signedInQuery;

std::string gunzipped(const std::string& packed) {
    z_stream stream = {};
    inflateInit2(&stream, 15 + 16);
    std::string plain(1 << 20, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(plain.data());
    stream.avail_out = static_cast<uInt>(plain.size());
    const int result = inflate(&stream, Z_FINISH);
    plain.resize(stream.total_out);
    inflateEnd(&stream);
    return result == Z_STREAM_END ? plain : std::string();
}

TEST(Fault, StatusChangesTheStatusAndKeepsTheBody) {
    const RunningSandbox sandbox(serving("one", {.status = 500}));
    const Reply reply = sandbox.query();
    EXPECT_EQ(reply.status, 500);
    EXPECT_TRUE(at(reply.json(), "/data").is_object());
}

TEST(Fault, DropClosesInTheMiddleOfTheBody) {
    const RunningSandbox sandbox(serving("one", {.manner = Manner::dropped}));
    const Reply reply = sandbox.query();
    EXPECT_EQ(reply.status, 200);
    EXPECT_FALSE(reply.isWhole);
    EXPECT_GT(reply.body.size(), 0u);
}

TEST(Fault, TruncateSendsHalfOfTheBodyAsIfItWereAll) {
    const RunningSandbox sandbox(serving("one", {.manner = Manner::truncated}));
    const Reply reply = sandbox.query();
    EXPECT_TRUE(reply.isWhole);
    EXPECT_TRUE(reply.json().is_null());
}

TEST(Fault, GarbageIsNotJSON) {
    const RunningSandbox sandbox(serving("one", {.manner = Manner::garbled}));
    const Reply reply = sandbox.query();
    EXPECT_EQ(reply.status, 200);
    EXPECT_TRUE(reply.isWhole);
    EXPECT_TRUE(reply.json().is_null());
}

TEST(Fault, StallNeverAnswersAndHoldsUpNoOneElse) {
    const RunningSandbox sandbox(serving("one", {.manner = Manner::stalled}));
    Connection stalled(sandbox.baseURL());
    stalled.send(signedInQuery());
    int noted = 0;
    while (noted == 0) noted = at(sandbox.log(), "/requestCount").to_number<int>();
    EXPECT_EQ(noted, 1);
}

TEST(Fault, ResetEndsTheConnectionWithoutAReply) {
    const RunningSandbox sandbox(serving("one", {.manner = Manner::reset}));
    EXPECT_EQ(sandbox.query().status, 0);
}

TEST(Fault, DelayStillAnswers) {
    const RunningSandbox sandbox(serving("one", {.delay = std::chrono::milliseconds(20)}));
    EXPECT_EQ(sandbox.query().status, 200);
}

TEST(Fault, PadPutsBlanksBehindTheBody) {
    const RunningSandbox sandbox(serving("one", {.padding = std::size_t{3} << 20}));
    const Reply reply = sandbox.query();
    EXPECT_GT(reply.body.size(), std::size_t{3} << 20);
    EXPECT_TRUE(at(reply.json(), "/data").is_object());
}

TEST(Fault, GzipCompressesForAClientThatAcceptsIt) {
    const RunningSandbox sandbox(serving("one", {.coding = sandbox::ContentCoding::asAsked}));
    const Reply plain = sandbox.query();
    EXPECT_EQ(plain.value("Content-Encoding"), "");
    auto headers = tests::signedInHeaders();
    headers.push_back({"Accept-Encoding", "deflate, gzip"});
    const Reply packed = sandbox.post("/graphql", headers, tests::queryBody());
    EXPECT_EQ(packed.value("Content-Encoding"), "gzip");
    EXPECT_EQ(gunzipped(packed.body), plain.body);
}

TEST(Fault, RedirectLoopNeverEnds) {
    const RunningSandbox sandbox(
        serving("one", {.redirection = Redirection::loop, .redirectionStatus = 307}));
    for (int turn = 0; turn < 3; ++turn) {
        const Reply reply = sandbox.query();
        EXPECT_EQ(reply.status, 307);
        EXPECT_EQ(reply.value("Location"), "/graphql");
    }
}

TEST(Fault, RedirectOnceLeadsToAnAnswer) {
    const RunningSandbox sandbox(serving("one", {.redirection = Redirection::once}));
    const Reply reply = sandbox.query();
    EXPECT_EQ(reply.status, 302);
    EXPECT_EQ(sandbox.post(reply.value("Location"), tests::signedInHeaders(), tests::queryBody()).status,
              200);
}

TEST(Fault, RedirectDoesNotRenewATokenPair) {
    const RunningSandbox sandbox(
        serving("one", {.redirection = Redirection::once, .redirectionStatus = 307}));
    const Reply reply = sandbox.refresh("sandbox-refresh");
    EXPECT_EQ(reply.status, 307);
    EXPECT_EQ(at(sandbox.log(), "/requests/0/outcome"), boost::json::value("redirected"));
    const Reply followed = sandbox.post(reply.value("Location"), {{"Content-type", "application/json"}},
                                        tests::refreshBody("sandbox-refresh"));
    EXPECT_TRUE(at(followed.json(), "/data/accessTokenRefresh/authPayload").is_object());
}

TEST(Fault, RedirectCrossOriginLeadsToAnotherPortWhoseRequestsAreMarked) {
    const RunningSandbox sandbox(serving("one", {.redirection = Redirection::crossOrigin}));
    const std::string location = sandbox.query().value("Location");
    const std::string otherOrigin = location.substr(0, location.rfind('/'));
    EXPECT_NE(otherOrigin, sandbox.baseURL());
    Connection other(otherOrigin);
    other.send(signedInQuery());
    EXPECT_EQ(other.receive().status, 200);
    EXPECT_EQ(at(sandbox.log(), "/requests/1/origin"), boost::json::value("second"));
}

TEST(Fault, CloseBetweenClosesWithoutSayingSo) {
    const RunningSandbox sandbox(serving("one", {.persistence = sandbox::Persistence::closedUnannounced}));
    Connection connection(sandbox.baseURL());
    connection.send(signedInQuery());
    const Reply reply = connection.receive();
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.value("Connection"), "");
    EXPECT_TRUE(connection.isClosedByPeer());
}

TEST(Fault, TouchesOnlyItsScope) {
    const struct {
        FaultScope scope;
        int graphql;
        int produce;
        int picture;
    } rows[] = {
        {FaultScope::graphql, 503, 422, 200},
        {FaultScope::produce, 200, 503, 200},
        {FaultScope::pictures, 200, 422, 503},
        {FaultScope::all, 503, 503, 503},
    };
    for (const auto& row : rows) {
        const RunningSandbox sandbox(serving("one", {.scope = row.scope, .status = 503}));
        EXPECT_EQ(sandbox.query().status, row.graphql);
        EXPECT_EQ(sandbox.post("/v1/produce", {}, "{}").status, row.produce);
        EXPECT_EQ(sandbox.get("/pictures/forms/small.png").status, row.picture);
    }
}

TEST(Fault, TouchesOnlyTheFirstRequests) {
    const RunningSandbox sandbox(serving("one", {.count = 2, .status = 503}));
    EXPECT_EQ(sandbox.query().status, 503);
    EXPECT_EQ(sandbox.query().status, 503);
    EXPECT_EQ(sandbox.query().status, 200);
}

}  // namespace
