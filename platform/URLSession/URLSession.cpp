// SPDX-License-Identifier: Apache-2.0

#include "platform/URLSession/URLSession.hpp"

#include <pthread.h>
#include <signal.h>

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/async_result.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "platform/URLSession/Transfer.hpp"
#include "platform/URLSession/TransferLoop.hpp"

namespace platform {
namespace {

namespace asio = boost::asio;

const URLError cancelledError(URLErrorCode::cancelled, "the transfer was cancelled");

// The session's thread and what others have asked of it. Kept by whoever still awaits a transfer, so that the
// session may end before them.
class Engine {
  public:
    explicit Engine(const URLSessionConfiguration& configuration) : configuration_(configuration) {}

    std::shared_ptr<Transfer> start(URLRequest request, std::function<void(TransferOutcome)> completion);
    void startForgotten(URLRequest request);
    void cancel(const std::shared_ptr<Transfer>& transfer);
    bool waitForForgotten(std::chrono::milliseconds limit);
    void end();

  private:
    struct Work {
        std::vector<std::shared_ptr<Transfer>> starting;
        std::vector<std::shared_ptr<Transfer>> cancelled;
        bool isEnding = false;
    };

    void enqueue(std::shared_ptr<Transfer> transfer);
    void startWaiting();
    void forgottenHasEnded();
    void ensureThread();
    void run(TransferLoop& loop);
    Work takeWork();

    const URLSessionConfiguration configuration_;
    std::mutex mutex_;
    Work work_;
    std::deque<URLRequest> waiting_;
    std::size_t forgotten_ = 0;
    std::condition_variable forgottenEnded_;
    std::unique_ptr<TransferLoop> loop_;
    std::thread thread_;
};

std::shared_ptr<Transfer> Engine::start(URLRequest request, std::function<void(TransferOutcome)> completion) {
    auto transfer = std::make_shared<Transfer>(std::move(request), configuration_, std::move(completion));
    const std::lock_guard lock(mutex_);
    enqueue(transfer);
    return transfer;
}

void Engine::enqueue(std::shared_ptr<Transfer> transfer) {
    if (work_.isEnding) throw cancelledError;
    ensureThread();
    work_.starting.push_back(std::move(transfer));
    loop_->wake();
}

void Engine::startForgotten(URLRequest request) {
    const std::lock_guard lock(mutex_);
    if (work_.isEnding) return;
    waiting_.push_back(std::move(request));
    startWaiting();
}

void Engine::startWaiting() {
    while (!waiting_.empty() && forgotten_ < configuration_.maximumForgottenTasks) {
        try {
            enqueue(std::make_shared<Transfer>(waiting_.front(), configuration_,
                                               [this](const TransferOutcome&) { forgottenHasEnded(); }));
            ++forgotten_;
        } catch (const std::exception&) {
            // There is no memory or no thread just now: it keeps its turn until one that is in flight has
            // ended. Where none is, nothing would ask again; it has ended then.
            if (forgotten_ > 0) return;
        }
        waiting_.pop_front();
    }
    if (forgotten_ == 0) forgottenEnded_.notify_all();
}

void Engine::forgottenHasEnded() {
    const std::lock_guard lock(mutex_);
    --forgotten_;
    startWaiting();
}

void Engine::cancel(const std::shared_ptr<Transfer>& transfer) {
    const std::lock_guard lock(mutex_);
    if (work_.isEnding) return;
    work_.cancelled.push_back(transfer);
    loop_->wake();
}

bool Engine::waitForForgotten(std::chrono::milliseconds limit) {
    std::unique_lock lock(mutex_);
    return forgottenEnded_.wait_for(lock, limit, [this] { return forgotten_ == 0 && waiting_.empty(); });
}

void Engine::end() {
    std::thread thread;
    {
        const std::lock_guard lock(mutex_);
        work_.isEnding = true;
        waiting_.clear();
        if (loop_) loop_->wake();
        thread = std::move(thread_);
    }
    if (!thread.joinable()) return;
    thread.join();
    loop_.reset();
}

// The process's signals are for its other threads, which know what they mean.
void Engine::ensureThread() {
    if (thread_.joinable()) return;
    loop_ = std::make_unique<TransferLoop>();
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        thread_ = std::thread(&Engine::run, this, std::ref(*loop_));
    } catch (const std::system_error&) {
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw URLError(URLErrorCode::unknown, "no thread can be started");
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void Engine::run(TransferLoop& loop) {
    for (;;) {
        Work work = takeWork();
        for (auto& transfer : work.starting) loop.add(std::move(transfer));
        for (const auto& transfer : work.cancelled) loop.cancel(transfer);
        if (work.isEnding) break;
        loop.step();
    }
    loop.cancelAll();
}

Engine::Work Engine::takeWork() {
    const std::lock_guard lock(mutex_);
    return {.starting = std::exchange(work_.starting, {}),
            .cancelled = std::exchange(work_.cancelled, {}),
            .isEnding = work_.isEnding};
}

// What the session's thread leaves for the awaiting coroutine. The bell is the coroutine's own and goes with
// it: a coroutine that is destroyed while it waits is never called again.
struct Mailbox {
    std::mutex mutex;
    asio::any_io_executor executor;
    asio::steady_timer* bell = nullptr;
    std::optional<TransferOutcome> outcome;

    static void deliver(const std::shared_ptr<Mailbox>& mailbox, TransferOutcome outcome) {
        const std::lock_guard lock(mailbox->mutex);
        if (!mailbox->bell) return;
        mailbox->outcome = std::move(outcome);
        asio::post(mailbox->executor, [mailbox] {
            const std::lock_guard ringing(mailbox->mutex);
            if (mailbox->bell) mailbox->bell->expires_at(asio::steady_timer::time_point::min());
        });
    }
};

class Reception {
  public:
    Reception(std::shared_ptr<Engine> engine, const asio::any_io_executor& executor)
        : engine_(std::move(engine)),
          bell_(executor, asio::steady_timer::time_point::max()),
          mailbox_(std::make_shared<Mailbox>()) {
        mailbox_->executor = executor;
        mailbox_->bell = &bell_;
    }
    ~Reception() {
        bool isPending = false;
        {
            const std::lock_guard lock(mailbox_->mutex);
            mailbox_->bell = nullptr;
            isPending = transfer_ && !mailbox_->outcome;
        }
        if (isPending) engine_->cancel(transfer_);
    }
    Reception(const Reception&) = delete;
    Reception& operator=(const Reception&) = delete;

    void start(URLRequest request) {
        transfer_ = engine_->start(std::move(request), [mailbox = mailbox_](TransferOutcome outcome) {
            Mailbox::deliver(mailbox, std::move(outcome));
        });
    }

    // The lock keeps the bell from ringing while the wait for it begins.
    template <typename Token>
    auto arrival(Token&& token) {
        return asio::async_initiate<Token, void(boost::system::error_code)>(
            [this](auto handler) {
                const std::lock_guard lock(mailbox_->mutex);
                bell_.async_wait(std::move(handler));
            },
            token);
    }

    /// Nothing when the wait ended before the transfer did, and a second time.
    std::optional<TransferOutcome> takeOutcome() {
        const std::lock_guard lock(mailbox_->mutex);
        // Then there is nothing left to be cancelled.
        if (mailbox_->outcome) transfer_.reset();
        return std::exchange(mailbox_->outcome, std::nullopt);
    }

  private:
    std::shared_ptr<Engine> engine_;
    asio::steady_timer bell_;
    std::shared_ptr<Mailbox> mailbox_;
    std::shared_ptr<Transfer> transfer_;
};

asio::awaitable<URLReply> reply(std::shared_ptr<Engine> engine, URLRequest request) {
    const auto executor = co_await asio::this_coro::executor;
    Reception reception(std::move(engine), executor);
    reception.start(std::move(request));
    boost::system::error_code ignored;
    co_await reception.arrival(asio::redirect_error(asio::use_awaitable, ignored));
    auto outcome = reception.takeOutcome();
    if (!outcome) throw cancelledError;
    if (const auto* error = std::get_if<URLError>(&*outcome)) throw *error;
    co_return std::move(std::get<URLReply>(*outcome));
}

class CurlURLSession : public URLSession {
  public:
    explicit CurlURLSession(const URLSessionConfiguration& configuration)
        : engine_(std::make_shared<Engine>(configuration)) {}
    ~CurlURLSession() override { engine_->end(); }

    asio::awaitable<URLReply> data(URLRequest request) override { return reply(engine_, std::move(request)); }
    void startDataTask(URLRequest request) override { engine_->startForgotten(std::move(request)); }
    bool waitForForgottenTasks(std::chrono::milliseconds limit) override {
        return engine_->waitForForgotten(limit);
    }

  private:
    std::shared_ptr<Engine> engine_;
};

}  // namespace

std::shared_ptr<URLSession> URLSession::session(const URLSessionConfiguration& configuration) {
    return std::make_shared<CurlURLSession>(configuration);
}

}  // namespace platform
