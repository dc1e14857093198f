// SPDX-License-Identifier: Apache-2.0

#include "host/window/WidgetFeed.hpp"

#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>

#include "tests/host/readers/LivePerson.hpp"
#include "tests/support/ScopedEnvironment.hpp"

namespace host {
namespace {

using platform::WidgetFamily;
using platform::testing::ScopedEnvironment;

/// A window's main loop that a test runs until what it waits for has happened.
class MainLoop {
  public:
    WidgetFeed::Post post() {
        return [this](std::function<void()> act) {
            const std::lock_guard guard(mutex_);
            calls_.push_back(std::move(act));
            arrived_.notify_one();
        };
    }

    template <typename Condition>
    bool runUntil(Condition holds) {
        const auto end = std::chrono::steady_clock::now() + platform::testing::patience;
        while (!holds()) {
            std::unique_lock lock(mutex_);
            if (!arrived_.wait_until(lock, end, [this] { return !calls_.empty(); })) return false;
            auto act = std::move(calls_.front());
            calls_.pop_front();
            lock.unlock();
            act();
        }
        return true;
    }

    std::size_t waiting() {
        const std::lock_guard guard(mutex_);
        return calls_.size();
    }

  private:
    std::mutex mutex_;
    std::condition_variable arrived_;
    std::deque<std::function<void()>> calls_;
};

class WidgetFeedTest : public LivePerson {
  protected:
    /// The feed asks the environment where its host is, which it hands on.
    void SetUp() override {
        startSandbox();
        variables.emplace(std::initializer_list<std::pair<std::string, std::optional<std::string>>>{
            {"XDG_RUNTIME_DIR", environment["XDG_RUNTIME_DIR"]},
            {"XDG_DATA_HOME", environment["XDG_DATA_HOME"]},
            {"BASE_URL", environment["BASE_URL"]},
            {"PATH", environment["PATH"]}});
    }

    WidgetFeed::Listener listener() {
        return {.onShown = [this](const auto& drawn) { shown = drawn; },
                .onEmptied =
                    [this] {
                        ++timesEmptied;
                        shown = nullptr;
                    },
                .onRemark = [this](const std::string& words) { remark = words; },
                .onLost = [this](const std::string& why) { lost = why; }};
    }

    WidgetFeed feed() {
        return WidgetFeed(platform::testing::programFolder() / "vela-widget", loop.post(), listener());
    }

    bool shows(const char* words) const {
        return shown && !shown->content.empty() &&
               shown->content.front().words.find(words) != std::string::npos;
    }

    std::optional<ScopedEnvironment> variables;
    MainLoop loop;
    std::shared_ptr<const ShownWidget> shown;
    int timesEmptied = 0;
    std::string remark;
    std::string lost;
};

TEST_F(WidgetFeedTest, ShowsWhatIsWantedWithItsLinks) {
    auto fed = feed();
    fed.want({.family = WidgetFamily::systemSmall, .scale = 2});
    ASSERT_TRUE(loop.runUntil([&] { return shows("arriving today"); }));
    EXPECT_EQ(shown->picture.width, 316);
    EXPECT_EQ(shown->picture.height, 316);
    EXPECT_EQ(linkAt(shown->content, {80, 80}), "velaapp://order/5501");
    fed.want({.family = WidgetFamily::systemLarge, .scale = 1});
    ASSERT_TRUE(loop.runUntil([&] { return shown->drawing.family == WidgetFamily::systemLarge; }));
    EXPECT_EQ(shown->content.size(), 3u);
    EXPECT_EQ(fetches(), 1u);
}

TEST_F(WidgetFeedTest, EmptiesAtTheSignOutBeforeAnythingElseIsDrawn) {
    auto fed = feed();
    fed.want({});
    ASSERT_TRUE(loop.runUntil([&] { return shows("arriving today"); }));
    ASSERT_EQ(companion({"sign-out"}).status, 0);
    ASSERT_TRUE(loop.runUntil([&] { return timesEmptied == 1; }));
    ASSERT_TRUE(loop.runUntil([&] { return shows("Sign in"); }));
    EXPECT_EQ(linkAt(shown->content, {5, 80}), "velaapp://home_orders");
    EXPECT_EQ(timesEmptied, 1);
}

TEST_F(WidgetFeedTest, KeepsThePictureThroughTheEndOfItsHostAndFindsTheNext) {
    auto fed = feed();
    fed.want({});
    ASSERT_TRUE(loop.runUntil([&] { return shows("arriving today"); }));
    const auto first = hostProcess();
    endHost(SIGKILL);
    ASSERT_TRUE(loop.runUntil([&] { return remark.starts_with("as of "); }));
    EXPECT_TRUE(shows("arriving today"));
    ASSERT_TRUE(loop.runUntil([&] { return remark.empty(); }));
    EXPECT_NE(hostProcess(), first);
    EXPECT_TRUE(shows("arriving today"));
    EXPECT_EQ(timesEmptied, 0);
}

TEST_F(WidgetFeedTest, SaysWhereALinkCannotBeOpened) {
    auto fed = feed();
    // The companion, which opens links, does not stand beside this program.
    fed.open("velaapp://order/5501");
    EXPECT_TRUE(loop.runUntil([&] { return remark == "The link could not be opened"; }));
}

TEST_F(WidgetFeedTest, ReloadsAtAPersonsWord) {
    auto fed = feed();
    fed.want({});
    ASSERT_TRUE(loop.runUntil([&] { return shows("arriving today"); }));
    const auto before = fetches();
    // None of them can end before the last has come.
    signalSandbox(SIGSTOP);
    for (int times = 0; times < 20; ++times) fed.reload();
    signalSandbox(SIGCONT);
    EXPECT_TRUE(platform::testing::eventually([&] { return fetches() == before + 1; }));
}

TEST_F(WidgetFeedTest, SaysWhereThereIsNoPlaceForAHost) {
    const ScopedEnvironment nowhere({{"XDG_RUNTIME_DIR", "/nowhere/at/all"}});
    auto fed = feed();
    fed.want({});
    ASSERT_TRUE(loop.runUntil([&] { return !lost.empty(); }));
    EXPECT_NE(lost.find("XDG_RUNTIME_DIR"), std::string::npos) << lost;
}

TEST_F(WidgetFeedTest, TellsNothingAfterItsEnd) {
    {
        auto fed = feed();
        fed.want({});
        ASSERT_TRUE(platform::testing::eventually([&] { return loop.waiting() > 0; }));
    }
    const auto calls = loop.waiting();
    for (std::size_t call = 0; call < calls; ++call)
        loop.runUntil([&, left = calls - call - 1] { return loop.waiting() == left; });
    EXPECT_EQ(shown, nullptr);
}

}  // namespace
}  // namespace host
