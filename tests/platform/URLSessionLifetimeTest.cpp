#include <gtest/gtest.h>
#include <netdb.h>

#include <atomic>
#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/thread_pool.hpp>
#include <condition_variable>
#include <future>
#include <mutex>

#include <dlfcn.h>

#include "tests/platform/URLSessionFixture.hpp"

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

}  // namespace

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
    EXPECT_EQ(gone.get_future().wait_for(20s), std::future_status::ready);
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
    EXPECT_TRUE(session->waitForForgottenTasks(20s));
    EXPECT_EQ(server.requests().size(), 10u);
}

TEST_F(URLSessionLifetime, DropsForgottenTasksBeyondTheMaximum) {
    URLSessionConfiguration configuration;
    configuration.maximumForgottenTasks = 3;
    session = URLSession::session(configuration);
    std::atomic<bool> answers = false;
    const LoopbackServer server([&answers](const ReceivedRequest&, Peer& peer) {
        if (!answers) peer.stall();
        peer.send(httpReply(200, ""));
    });
    for (int count = 0; count < 10000; ++count) session->startDataTask({.url = server.url()});
    EXPECT_TRUE(server.waitForRequests(3));
    EXPECT_FALSE(session->waitForForgottenTasks(20ms));
    EXPECT_EQ(server.requests().size(), 3u);
}

TEST_F(URLSessionLifetime, TakesForgottenTasksAgainWhenOthersHaveEnded) {
    URLSessionConfiguration configuration;
    configuration.maximumForgottenTasks = 1;
    session = URLSession::session(configuration);
    const LoopbackServer server(httpReply(200, ""));
    for (int count = 0; count < 3; ++count) {
        session->startDataTask({.url = server.url()});
        EXPECT_TRUE(session->waitForForgottenTasks(20s));
    }
    session->startDataTask({.url = URL::parse("ftp://127.0.0.1/").value()});
    EXPECT_TRUE(session->waitForForgottenTasks(20s));
    EXPECT_EQ(server.requests().size(), 3u);
}

TEST_F(URLSessionLifetime, HasNothingToWaitForAtFirst) {
    EXPECT_TRUE(session->waitForForgottenTasks(0ms));
}

}  // namespace
}  // namespace platform
