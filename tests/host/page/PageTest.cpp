// SPDX-License-Identifier: Apache-2.0

#include "host/page/Page.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "tests/host/live/ReaderWorld.hpp"

namespace host {
namespace {

using platform::HTTPRequest;
using platform::HTTPResponse;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

/// A page in front of a live host, asked as a browser would that was let in.
class PageTest : public ReaderWorld {
  public:
    ~PageTest() override {
        if (page) page->close();
        clock.settle();
        close();
        page.reset();
    }

  protected:
    PageTest() {
        for (const auto* name : {"page.html", "page.css", "page.js", "manifest.webmanifest", "icon.svg",
                                 "VelaLogo.svg", "VelaLogoDark.svg"})
            std::ofstream(folder.path() / name) << name << " {{revision}} {{remark}} {{contents}}";
    }

    void openPage() {
        open();
        LiveHostClient::Options client;
        client.ifMissing = LiveHostClient::IfMissing::leave;
        client.pauses = {std::chrono::milliseconds(5)};
        page.emplace(context.get_executor(), Page::Options{.door = {.port = "80", .token = "token"},
                                                           .files = PageFiles::in(folder.path()),
                                                           .client = std::move(client),
                                                           .mostStreams = 2});
        spawn(page->follow());
        until([&] { return door->readerCount() == 1; });
    }

    using Pending = std::shared_ptr<std::optional<HTTPResponse>>;
    Pending begin(std::string method, const std::string& target) {
        const auto response = std::make_shared<std::optional<HTTPResponse>>();
        spawn(ask({.method = std::move(method),
                   .target = "/token/" + target,
                   .fields = {{"Host", "localhost:80"}, {"Origin", "http://localhost:80"}}},
                  response));
        return response;
    }
    HTTPResponse asked(std::string method, const std::string& target) {
        const auto response = begin(std::move(method), target);
        EXPECT_TRUE(until([&] { return response->has_value(); }));
        return response->value_or(HTTPResponse{.status = 0});
    }
    std::string got(const std::string& target) { return asked("GET", target).body; }

    std::string nextEvent(const std::shared_ptr<platform::EventStream>& stream) {
        std::optional<std::string> text;
        spawn(hear(stream, text));
        until([&] { return text.has_value(); });
        return text.value_or("nothing");
    }

    std::optional<Page> page;

  private:
    boost::asio::awaitable<void> ask(HTTPRequest request, Pending response) {
        *response = co_await page->answer(std::move(request));
    }
    static boost::asio::awaitable<void> hear(std::shared_ptr<platform::EventStream> stream,
                                             std::optional<std::string>& text) {
        const auto event = co_await stream->next(platform::testing::patience / 2);
        text = event.value_or("the end");
    }
};

TEST_F(PageTest, ShowsWhatTheLiveHostHas) {
    extension.signIn(1, 1, "Shop of Ada");
    openPage();
    start();
    EXPECT_TRUE(until([&] { return got("").find("Shop of Ada") != std::string::npos; }));
    EXPECT_THAT(got("?scheme=dark"), HasSubstr("picture of Shop of Ada"));
    EXPECT_EQ(asked("GET", "").status, 200);
}

TEST_F(PageTest, ShowsBarsBeforeAnythingIsKnown) {
    openPage();
    const auto text = got("");
    EXPECT_THAT(text, HasSubstr("bars of "));
    EXPECT_THAT(text, Not(HasSubstr("<li>")));
    EXPECT_THAT(text, HasSubstr("Looking for your packages."));
}

TEST_F(PageTest, ComesWithoutThePicturesThatTakeLongAndSaysWhenTheyAreThere) {
    extension.signIn(1, 1, "Shop of Ada");
    extension.pictureDelay = std::chrono::milliseconds(550);
    openPage();
    start();
    const auto stream = asked("GET", "events").events;
    ASSERT_TRUE(stream);
    ASSERT_TRUE(until([&] { return got("").find("Shop of Ada without") != std::string::npos; }));
    // One told of her packages, and on a machine that stands still of their pictures at once.
    std::string text = "without";
    while (text.find("without") != std::string::npos) {
        ASSERT_THAT(nextEvent(stream), StartsWith("event: state"));
        text = got("");
    }
    EXPECT_THAT(text, HasSubstr("Shop of Ada with"));
}

TEST_F(PageTest, TellsEveryWindowOfASignOutAndShowsNothingOfThePersonAnyMore) {
    extension.signIn(1, 1, "Shop of Ada");
    openPage();
    start();
    ASSERT_TRUE(until([&] { return got("").find("Shop of Ada") != std::string::npos; }));
    const auto stream = asked("GET", "events").events;
    ASSERT_TRUE(stream);
    EXPECT_THAT(nextEvent(stream), StartsWith("event: state\ndata: {\"holdsPackages\":true,\"revision\":"));
    extension.answerWith(CredentialState::none, ServerContact::refused);
    happens(platform::SystemEvent::secretsChanged);
    EXPECT_THAT(nextEvent(stream), StartsWith("event: state\ndata: {\"holdsPackages\":false,"));
    EXPECT_THAT(got(""), Not(HasSubstr("Ada")));
}

TEST_F(PageTest, DrawsAgainWhatASignOutOvertook) {
    extension.signIn(1, 1, "Shop of Ada");
    openPage();
    start();
    ASSERT_TRUE(until([&] { return got("").find("Shop of Ada") != std::string::npos; }));
    const int before = extension.drawings;
    const auto response = begin("GET", "?textSize=xLarge");
    ASSERT_TRUE(until([&] { return extension.drawings == before + 4; }));
    extension.isDrawingHeld = true;
    extension.answerWith(CredentialState::none, ServerContact::refused);
    happens(platform::SystemEvent::secretsChanged);
    extension.release();
    ASSERT_TRUE(until([&] { return response->has_value(); }));
    const auto text = (*response)->body;
    EXPECT_THAT(text, HasSubstr("picture of notLoggedIn"));
    EXPECT_THAT(text, Not(HasSubstr("Ada")));
}

TEST_F(PageTest, AsksTheServerWhenThePersonSaysSoAndGoesBackToThePage) {
    extension.signIn(1, 1, "Shop of Ada");
    openPage();
    start();
    until([&] { return extension.timelines == 1; });
    const auto response = asked("POST", "reload?scheme=dark&other=x");
    EXPECT_EQ(response.status, 303);
    EXPECT_EQ(response.fields.back(), (platform::HTTPField{"Location", "./?scheme=dark"}));
    EXPECT_EQ(extension.timelines, 2);
}

TEST_F(PageTest, GivesItsOwnFilesAndNoOthers) {
    openPage();
    EXPECT_THAT(got("page.css"), StartsWith("page.css"));
    EXPECT_EQ(asked("HEAD", "manifest.webmanifest").status, 200);
    for (const auto* path :
         {"page.html", "../page.css", "./page.css", "page.css/", "%2e%2e/page.css", "Inter-Bold.otf",
          "/etc/passwd", "../../../../etc/passwd", "page.css%00", "PAGE.CSS", "reload", "events/"})
        EXPECT_EQ(asked("GET", path).status, 404) << path;
    EXPECT_EQ(asked("POST", "").status, 404);
    EXPECT_EQ(asked("POST", "events").status, 404);
}

TEST_F(PageTest, KeepsAsManyWindowsCurrentAsItMay) {
    openPage();
    const auto first = asked("GET", "events").events;
    const auto second = asked("GET", "events").events;
    EXPECT_EQ(asked("GET", "events").status, 503);
    first->end();
    EXPECT_EQ(asked("GET", "events").status, 200);
}

TEST_F(PageTest, SaysThatNothingCanBeDrawnWhereTheHostHasGone) {
    openPage();
    close();
    EXPECT_THAT(got(""), HasSubstr("It cannot be drawn now."));
}

}  // namespace
}  // namespace host
