// SPDX-License-Identifier: Apache-2.0

#include "widget/NetworkPictures.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <thread>

#include "platform/Streams/Deadline.hpp"
#include "tests/support/LoopbackServer.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace widget {
namespace {

using platform::URL;
using platform::testing::httpReply;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;
using std::chrono::milliseconds;
using std::chrono::minutes;
using ::testing::ElementsAre;

URL pictureURL(int number) {
    return URL::parse("https://a.example/" + std::to_string(number)).value();
}

const PictureMemory::TimePoint start = {};

/// A failure is nothing, and known.
std::optional<PictureMemory::Outcome> known(const PictureMemory::Outcome& outcome) {
    return std::optional<PictureMemory::Outcome>(std::in_place, outcome);
}

TEST(PictureMemory, KnowsWhatBecameOfAPicture) {
    PictureMemory memory;
    EXPECT_EQ(memory.outcome(pictureURL(1), start), std::nullopt);
    memory.note(pictureURL(1), "bytes", start);
    memory.note(pictureURL(2), std::nullopt, start);
    EXPECT_EQ(memory.outcome(pictureURL(1), start), known(PictureMemory::Outcome("bytes")));
    EXPECT_EQ(memory.outcome(pictureURL(2), start), known(PictureMemory::Outcome()));
    memory.note(pictureURL(2), "there now", start);
    EXPECT_EQ(memory.outcome(pictureURL(2), start), known(PictureMemory::Outcome("there now")));
}

TEST(PictureMemory, ForgetsInTime) {
    PictureMemory memory;
    memory.note(pictureURL(1), "bytes", start);
    memory.note(pictureURL(2), std::nullopt, start);
    const milliseconds tick(1);
    EXPECT_TRUE(memory.outcome(pictureURL(1), start + PictureMemory::ageOfPicture - tick));
    EXPECT_FALSE(memory.outcome(pictureURL(1), start + PictureMemory::ageOfPicture));
    EXPECT_TRUE(memory.outcome(pictureURL(2), start + PictureMemory::ageOfFailure - tick));
    EXPECT_FALSE(memory.outcome(pictureURL(2), start + PictureMemory::ageOfFailure));
}

TEST(PictureMemory, ForgetsTheOldestOfTooMany) {
    PictureMemory memory;
    const int most = int(PictureMemory::mostURLs);
    for (int number = 0; number <= most; ++number) memory.note(pictureURL(number), std::nullopt, start);
    EXPECT_FALSE(memory.outcome(pictureURL(0), start));
    for (int number = 1; number <= most; ++number)
        EXPECT_TRUE(memory.outcome(pictureURL(number), start)) << number;
}

TEST(PictureMemory, HoldsNoMoreThanItsBytes) {
    PictureMemory memory;
    const std::string large(PictureMemory::mostBytesOfOne - 100, 'x');
    const int most = int(PictureMemory::mostBytes / large.size());
    for (int number = 0; number <= most; ++number) memory.note(pictureURL(number), large, start);
    EXPECT_FALSE(memory.outcome(pictureURL(0), start));
    for (int number = 1; number <= most; ++number)
        EXPECT_TRUE(memory.outcome(pictureURL(number), start)) << number;
    // Noted again it counts once.
    for (int time = 0; time < 10; ++time) memory.note(pictureURL(most), large, start);
    EXPECT_TRUE(memory.outcome(pictureURL(1), start));
}

TEST(PictureMemory, KeepsNoPictureThatWouldTakeThePlaceOfAllOthers) {
    PictureMemory memory;
    memory.note(pictureURL(1), "small", start);
    memory.note(pictureURL(2), std::string(PictureMemory::mostBytesOfOne, 'x'), start);
    memory.note(URL::parse("https://a.example/" + std::string(PictureMemory::mostBytesOfOne, 'x')).value(),
                std::nullopt, start);
    EXPECT_TRUE(memory.outcome(pictureURL(1), start));
    EXPECT_FALSE(memory.outcome(pictureURL(2), start));
}

class NetworkPicturesTest : public ::testing::Test {
  protected:
    using Outcomes = std::vector<std::string>;
    /// Of one drawing: the bytes, or "none".
    Outcomes readAll(const std::vector<URL>& urls, milliseconds budget = minutes(1)) {
        Outcomes outcomes(urls.size(), "not received");
        NetworkPictures(*memory, platform::Deadline(budget))
            .readAll(urls, [&](std::size_t place, const std::optional<std::string>& bytes) {
                outcomes[place] = bytes.value_or("none");
            });
        return outcomes;
    }

    std::unique_ptr<PictureMemory> memory = std::make_unique<PictureMemory>();
};

TEST_F(NetworkPicturesTest, AskEachServerOnceForSeveralDrawings) {
    const Outcomes expected = {"none", "/good", "none"};
    Outcomes first;
    // On a machine that stands still, all servers have failed.
    for (int attempt = 0; attempt < 10 && first != expected; ++attempt) {
        memory = std::make_unique<PictureMemory>();
        const LoopbackServer server([](const ReceivedRequest& request, LoopbackServer::Peer& peer) {
            if (request.target() == "/never") peer.stall();
            peer.send(httpReply(request.target() == "/missing" ? 404 : 200, request.target()));
        });
        const std::vector<URL> urls = {server.url("/never"), server.url("/good"), server.url("/missing")};
        first = readAll(urls, milliseconds(1500));
        EXPECT_EQ(readAll(urls), first);
        if (first == expected) {
            EXPECT_EQ(server.requests().size(), 3u);
        }
    }
    EXPECT_EQ(first, expected);
}

TEST_F(NetworkPicturesTest, HaveNotFailedWhereNobodyWasAskedForThem) {
    const LoopbackServer server(httpReply(200, "picture"));
    EXPECT_THAT(readAll({server.url()}, milliseconds(0)), ElementsAre("none"));
    EXPECT_THAT(readAll({server.url()}), ElementsAre("picture"));
    EXPECT_THAT(readAll({server.url()}, milliseconds(0)), ElementsAre("picture"));
}

TEST_F(NetworkPicturesTest, HaveNotFailedWhereADrawingWasInAHurry) {
    const LoopbackServer server([](const ReceivedRequest&, LoopbackServer::Peer& peer) {
        std::this_thread::sleep_for(milliseconds(300));
        peer.send(httpReply(200, "picture"));
    });
    EXPECT_THAT(readAll({server.url()}, milliseconds(50)), ElementsAre("none"));
    EXPECT_THAT(readAll({server.url()}), ElementsAre("picture"));
}

TEST_F(NetworkPicturesTest, HaveNotFailedWhereADrawingWasInAHurryInTheMiddleOfThem) {
    const LoopbackServer server([](const ReceivedRequest&, LoopbackServer::Peer& peer) {
        peer.send("HTTP/1.1 200 OK\r\nContent-Length: 7\r\n\r\npic");
        std::this_thread::sleep_for(milliseconds(300));
        peer.send("ture");
    });
    EXPECT_THAT(readAll({server.url()}, milliseconds(150)), ElementsAre("none"));
    EXPECT_THAT(readAll({server.url()}), ElementsAre("picture"));
}

TEST_F(NetworkPicturesTest, OfThisMachineAreReadAnew) {
    const platform::testing::TemporaryFolder folder;
    const URL file = URL::parse("file://" + (folder.path() / "picture").string()).value();
    EXPECT_THAT(readAll({file}), ElementsAre("none"));
    folder.write("picture", "first");
    EXPECT_THAT(readAll({file}), ElementsAre("first"));
    folder.write("picture", "second");
    EXPECT_THAT(readAll({file}, milliseconds(0)), ElementsAre("second"));
}

}  // namespace
}  // namespace widget
