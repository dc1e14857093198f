// SPDX-License-Identifier: Apache-2.0

#include <gtest/gtest.h>
#include <malloc.h>
#include <netdb.h>
#include <sys/resource.h>

#include <atomic>
#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>
#include <condition_variable>
#include <future>
#include <mutex>

#include <curl/curl.h>
#include <dlfcn.h>

#include "tests/platform/URLSessionFixture.hpp"
#include "tests/support/MemoryLimit.hpp"

// Stands before the system's look-up of names: those of one domain never come to an answer until the test
// lets go.
namespace {

class HangingNames {
  public:
    void wait() {
        std::unique_lock lock(mutex_);
        ++waiting_;
        changed_.notify_all();
        changed_.wait(lock, [this] { return isReleased_; });
        --waiting_;
        changed_.notify_all();
    }
    void awaitLookUp() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return waiting_ > 0; });
    }
    void release() {
        std::unique_lock lock(mutex_);
        isReleased_ = true;
        changed_.notify_all();
        changed_.wait(lock, [this] { return waiting_ == 0; });
        isReleased_ = false;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int waiting_ = 0;
    bool isReleased_ = false;
};

// Outlives the process's end: a look-up that was left behind may come here later than any test waits for it,
// and a condition variable cannot be destroyed under a waiter.
HangingNames& hangingNames = *new HangingNames;

// libcurl's own way to wake a loop sends a byte, which the system may have no memory for.
std::atomic<bool> hasMemoryForAByte = true;

}  // namespace

extern "C" CURLMcode curl_multi_wakeup(CURLM* multi) {
    static const auto next =
        reinterpret_cast<decltype(&curl_multi_wakeup)>(::dlsym(RTLD_NEXT, "curl_multi_wakeup"));
    return hasMemoryForAByte ? next(multi) : CURLM_WAKEUP_FAILURE;
}

extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* name, const char* service,
                                                                  const addrinfo* hints, addrinfo** result) {
    if (name && std::string_view(name).ends_with(".hanging.example")) {
        hangingNames.wait();
        return EAI_NONAME;
    }
    using Function = int (*)(const char*, const char*, const addrinfo*, addrinfo**);
    static const auto next = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "getaddrinfo"));
    return next(name, service, hints, result);
}

namespace platform {
namespace {

using namespace std::chrono_literals;
namespace asio = boost::asio;
using platform::testing::httpReply;
using platform::testing::LoopbackServer;
using platform::testing::ReceivedRequest;
using Peer = LoopbackServer::Peer;

void stall(const ReceivedRequest&, Peer& peer) {
    peer.stall();
}

class URLSessionLifetime : public platform::testing::URLSessionTest {
  protected:
    URL hangingURL() { return URL::parse("http://a.hanging.example/").value(); }

    /// How an awaited transfer ended.
    struct Ending {
        bool hasEnded = false;
        std::optional<URLErrorCode> error;
        std::thread::id thread;
    };
    static asio::awaitable<void> await(asio::awaitable<URLReply> transfer, Ending* ending) {
        try {
            co_await std::move(transfer);
        } catch (const URLError& error) {
            ending->error = error.code();
        }
        ending->thread = std::this_thread::get_id();
        ending->hasEnded = true;
    }
};

TEST_F(URLSessionLifetime, GoesOnWhereTheSystemHasNoMemoryForAByte) {
    const LoopbackServer server(httpReply(200, "good"));
    EXPECT_EQ(fetch({.url = server.url()}).data, "good") << "from now on its thread waits";
    hasMemoryForAByte = false;
    std::optional<URLReply> reply;
    asio::io_context context;
    asio::co_spawn(context, keep(session->data({.url = server.url()}), &reply), asio::detached);
    context.run_for(platform::testing::patience);
    hasMemoryForAByte = true;
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->data, "good");
}

TEST_F(URLSessionLifetime, ResumesOnTheAwaitersOwnExecutor) {
    const LoopbackServer server(httpReply(200, "x"));
    asio::io_context context;
    Ending ending;
    asio::co_spawn(context, await(session->data({.url = server.url()}), &ending), asio::detached);
    context.run();
    EXPECT_TRUE(ending.hasEnded);
    EXPECT_EQ(ending.thread, std::this_thread::get_id());
}

TEST_F(URLSessionLifetime, ResumesOnPoolsOfThreads) {
    const LoopbackServer server(httpReply(200, "x"));
    asio::thread_pool pool(3);
    std::vector<Ending> endings(40);
    for (Ending& ending : endings) {
        asio::co_spawn(pool, await(session->data({.url = server.url()}), &ending), asio::detached);
    }
    pool.join();
    for (const Ending& ending : endings) {
        EXPECT_TRUE(ending.hasEnded);
        EXPECT_EQ(ending.error, std::nullopt);
    }
}

TEST_F(URLSessionLifetime, CancelsATransferWithItsAwaiter) {
    std::promise<void> gone;
    LoopbackServer server([&gone](const ReceivedRequest&, Peer& peer) {
        peer.stall();
        gone.set_value();
    });
    asio::io_context context;
    asio::cancellation_signal cancellation;
    Ending ending;
    asio::co_spawn(context, await(session->data({.url = server.url()}), &ending),
                   asio::bind_cancellation_slot(cancellation.slot(), asio::detached));
    std::thread canceller([&] {
        server.waitForRequests(1);
        asio::post(context, [&] { cancellation.emit(asio::cancellation_type::terminal); });
    });
    context.run();
    canceller.join();
    EXPECT_EQ(ending.error, URLErrorCode::cancelled);
    // The server sees the connection go: nothing goes on behind the awaiter's back.
    EXPECT_EQ(gone.get_future().wait_for(platform::testing::patience), std::future_status::ready);
}

TEST_F(URLSessionLifetime, CancelsEverythingAtItsEnd) {
    const LoopbackServer server(stall);
    asio::io_context context;
    std::vector<Ending> endings(5);
    for (Ending& ending : endings) {
        asio::co_spawn(context, await(session->data({.url = server.url()}), &ending), asio::detached);
    }
    session->startDataTask({.url = server.url()});
    std::thread ender([&] {
        server.waitForRequests(6);
        session.reset();
    });
    context.run();
    ender.join();
    for (const Ending& ending : endings) EXPECT_EQ(ending.error, URLErrorCode::cancelled);
}

TEST_F(URLSessionLifetime, MayEndBeforeATransferIsAwaited) {
    asio::io_context context;
    Ending ending;
    auto transfer = session->data({.url = hangingURL()});
    session.reset();
    asio::co_spawn(context, await(std::move(transfer), &ending), asio::detached);
    context.run();
    EXPECT_EQ(ending.error, URLErrorCode::cancelled);
}

TEST_F(URLSessionLifetime, ForgetsAwaitersThatWereDestroyed) {
    const LoopbackServer server([](const ReceivedRequest&, Peer& peer) { peer.send(httpReply(200, "x")); });
    for (int round = 0; round < 50; ++round) {
        Ending ending;
        {
            asio::io_context context;
            asio::co_spawn(context, await(session->data({.url = server.url()}), &ending), asio::detached);
            context.run_for(std::chrono::microseconds(round * 40));
        }
    }
    EXPECT_EQ(fetch({.url = server.url()}).data, "x");
}

TEST_F(URLSessionLifetime, NeverWaitsForANameToBeLookedUp) {
    asio::io_context context;
    Ending ending;
    asio::co_spawn(context, await(session->data({.url = hangingURL()}), &ending), asio::detached);
    session->startDataTask({.url = hangingURL()});
    std::thread ender([&] {
        hangingNames.awaitLookUp();
        // Returns although the look-up does not.
        session.reset();
    });
    context.run();
    ender.join();
    EXPECT_EQ(ending.error, URLErrorCode::cancelled);
    hangingNames.release();
}

TEST_F(URLSessionLifetime, TimesOutWhileANameIsLookedUp) {
    EXPECT_EQ(failure({.url = hangingURL(), .timeoutInterval = 50ms}), URLErrorCode::timedOut);
    hangingNames.release();
}

TEST_F(URLSessionLifetime, DoesWhatItIsToldAndForgets) {
    const LoopbackServer server(httpReply(500, "ignored"));
    for (int count = 0; count < 10; ++count) {
        session->startDataTask(
            {.url = server.url(), .httpMethod = "POST", .httpBody = std::to_string(count)});
    }
    EXPECT_TRUE(session->waitForForgottenTasks(platform::testing::patience));
    EXPECT_EQ(server.requests().size(), 10u);
}

/// A collector that answers nobody before it is opened.
class Gate {
  public:
    void pass() {
        std::unique_lock lock(mutex_);
        opened_.wait(lock, [this] { return isOpen_; });
    }
    void open() {
        const std::lock_guard lock(mutex_);
        isOpen_ = true;
        opened_.notify_all();
    }

  private:
    std::mutex mutex_;
    std::condition_variable opened_;
    bool isOpen_ = false;
};

TEST_F(URLSessionLifetime, LetsForgottenTasksBeyondTheMaximumWaitForTheirTurn) {
    URLSessionConfiguration configuration;
    configuration.maximumForgottenTasks = 3;
    session = URLSession::session(configuration);
    Gate gate;
    const LoopbackServer server([&gate](const ReceivedRequest&, Peer& peer) {
        gate.pass();
        peer.send(httpReply(200, ""));
    });
    for (int count = 0; count < 200; ++count) session->startDataTask({.url = server.url()});
    EXPECT_TRUE(server.waitForRequests(3));
    EXPECT_FALSE(session->waitForForgottenTasks(50ms));
    EXPECT_EQ(server.requests().size(), 3u);
    gate.open();
    EXPECT_TRUE(session->waitForForgottenTasks(platform::testing::patience));
    EXPECT_EQ(server.requests().size(), 200u);
}

TEST_F(URLSessionLifetime, StartsForgottenTasksInTheirOrderWhateverBecomesOfOthers) {
    URLSessionConfiguration configuration;
    configuration.maximumForgottenTasks = 1;
    session = URLSession::session(configuration);
    const LoopbackServer server([](const ReceivedRequest& request, Peer& peer) {
        switch (std::stoi(request.body) % 4) {
            case 0: return peer.close();
            case 1: return peer.reset();
            case 2: return void(peer.send("nonsense\r\n\r\n"));
            default: peer.send(httpReply(500, ""));
        }
    });
    std::vector<std::string> expected;
    for (int count = 0; count < 100; ++count) {
        expected.push_back(std::to_string(count));
        session->startDataTask({.url = server.url(), .httpMethod = "POST", .httpBody = expected.back()});
        session->startDataTask({.url = URL::parse("ftp://127.0.0.1/").value()});
    }
    EXPECT_TRUE(session->waitForForgottenTasks(platform::testing::patience));
    std::vector<std::string> arrived;
    for (const ReceivedRequest& request : server.requests()) arrived.push_back(request.body);
    EXPECT_EQ(arrived, expected);
}

TEST_F(URLSessionLifetime, EndsWithForgottenTasksStillWaiting) {
    const LoopbackServer server(stall);
    for (int count = 0; count < 10'000; ++count) session->startDataTask({.url = server.url()});
    EXPECT_TRUE(server.waitForRequests(1));
    session.reset();
    EXPECT_LE(server.requests().size(), URLSessionConfiguration().maximumForgottenTasks);
}

TEST_F(URLSessionLifetime, SpendsOnAWaitingTaskNoMoreThanItsRequest) {
    if (!tests::memoryCanBeLimited) GTEST_SKIP() << "a sanitizer has an allocator of its own";
    URLSessionConfiguration configuration;
    configuration.maximumForgottenTasks = 1;
    session = URLSession::session(configuration);
    const LoopbackServer server(stall);
    // As an event of the widget is.
    URLRequest event = {
        .url = server.url("/v1/produce"), .httpMethod = "POST", .httpBody = std::string(600, 'x')};
    event.setValue("application/json", "Content-Type");
    event.setValue("1714564800250", "X-Relaybox-Edge-Event-Created-At-Ms");
    event.setValue("1714564800250", "X-Relaybox-Edge-Event-Sent-At-Ms");
    event.setValue("en-GB", "X-Relaybox-Edge-Content-Language");
    session->startDataTask(event);
    ASSERT_TRUE(server.waitForRequests(1));
    constexpr std::size_t count = 10'000;
    const auto before = ::mallinfo2().uordblks;
    for (std::size_t index = 0; index < count; ++index) session->startDataTask(event);
    const auto each = (::mallinfo2().uordblks - before) / count;
    EXPECT_LE(each, 1536u);
    RecordProperty("bytesOfAWaitingTask", std::to_string(each));
}

TEST_F(URLSessionLifetime, FailsAtOnceWhereNoFileCanBeOpened) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the undefined-behaviour sanitizer looks at each object with a pipe";
#endif
    asio::io_context context;
    const asio::steady_timer ready(context);
    Ending ending;
    rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none = {.rlim_cur = 0, .rlim_max = before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    session->startDataTask({.url = hangingURL()});
    EXPECT_TRUE(session->waitForForgottenTasks(0ms));
    asio::co_spawn(context, await(session->data({.url = hangingURL()}), &ending), asio::detached);
    context.run();
    ::setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(ending.error, URLErrorCode::unknown);
}

TEST_F(URLSessionLifetime, HasNothingToWaitForAtFirst) {
    EXPECT_TRUE(session->waitForForgottenTasks(0ms));
}

}  // namespace
}  // namespace platform
