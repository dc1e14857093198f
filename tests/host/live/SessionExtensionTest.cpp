// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>

#include <boost/asio/this_coro.hpp>
#include <string>
#include <vector>

#include "host/widget/Live/LiveExtension.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/Asio/Pause.hpp"
#include "tests/host/Misbehaviour.hpp"

namespace host {
namespace {

namespace asio = boost::asio;
using std::chrono::milliseconds;
using ::testing::ElementsAre;

const std::string credentials = R"({"credentials":{"state":"stored","tokens":7}})";
const std::string timeline = R"({"timeline":{"policy":{"after":"2026-01-31T11:00:00.000Z"},"entries":[)"
                             R"({"date":"2026-01-31T10:00:00.000Z","state":"noPackages"}]})";

class SessionExtensionTest : public Misbehaviour {
  protected:
    template <typename Work>
    void with(const std::string& behaviour, milliseconds rest, Work work) {
        const platform::testing::ScopedEnvironment scope({{"VELA_TEST_BEHAVIOUR", behaviour}});
        ExtensionSession::Options options;
        options.extension = settings;
        options.restarts = {.pauses = {milliseconds(0)}};
        options.onOutputLine = [this](std::string_view line) { lines.emplace_back(line); };
        platform::runToEnd(run(std::move(options), rest, std::move(work)));
    }

    static asio::awaitable<std::string> failureOfTimeline(SessionExtension& extension) {
        try {
            co_await extension.timeline(platform::WidgetFamily::systemSmall);
            co_return "none";
        } catch (const ExtensionError& error) {
            co_return error.what();
        }
    }

    std::vector<std::string> lines;

  private:
    template <typename Work>
    static asio::awaitable<int> run(ExtensionSession::Options options, milliseconds rest, Work work) {
        SessionExtension extension(co_await asio::this_coro::executor, std::move(options), rest);
        co_await work(extension);
        co_return 0;
    }
};

TEST_F(SessionExtensionTest, EndsTheExtensionOnceItHasRestedAndStartsAnotherWhenItIsAsked) {
    with("print started\ngreet\nreceive\nanswer " + credentials + "\nrepeat", milliseconds(20),
         [](SessionExtension& extension) -> asio::awaitable<void> {
             for (int count = 0; count < 2; ++count) {
                 const auto report = co_await extension.credentials();
                 EXPECT_EQ(report.tokens, 7u);
                 for (int turn = 0; turn < 6000 && !isNothingLeft(); ++turn)
                     co_await platform::pause(milliseconds(10));
                 EXPECT_TRUE(isNothingLeft());
             }
         });
    EXPECT_THAT(lines, ElementsAre("started", "started"));
}

TEST_F(SessionExtensionTest, KeepsTheExtensionWhileItIsAsked) {
    with("print started\ngreet\nreceive\nsleep 100\nanswer " + credentials + "\nrepeat", milliseconds(50),
         [](SessionExtension& extension) -> asio::awaitable<void> {
             for (int count = 0; count < 4; ++count) co_await extension.credentials();
         });
    EXPECT_THAT(lines, ElementsAre("started"));
}

TEST_F(SessionExtensionTest, RefusesATimelineThatDoesNotSayHowItCameAbout) {
    for (const auto& [outcome, words] : std::vector<std::pair<std::string, std::string>>{
             {"", "the extension's answer has no outcome"},
             {R"(,"outcome":{"server":"answered"})",
              "the extension's answer cannot be used: credentials must be an object"}})
        with("greet\nreceive\nanswer " + timeline + outcome + "}", std::chrono::hours(1),
             [&words = words](SessionExtension& extension) -> asio::awaitable<void> {
                 EXPECT_EQ(co_await failureOfTimeline(extension), words);
             });
}

TEST_F(SessionExtensionTest, LeavesWhatIsUnderWayAtOnce) {
    with("print started\ngreet\nreceive\nsleep 3600000", std::chrono::hours(1),
         [](SessionExtension& extension) -> asio::awaitable<void> {
             platform::spawn(
                 co_await asio::this_coro::executor,
                 [](SessionExtension& left) -> asio::awaitable<void> {
                     co_await platform::pause(milliseconds(50));
                     left.leave();
                 }(extension),
                 [](const std::exception_ptr&) {});
             EXPECT_THAT(co_await failureOfTimeline(extension), ::testing::HasSubstr("the extension"));
         });
}

}  // namespace
}  // namespace host
