// SPDX-License-Identifier: Apache-2.0

#pragma once

// A transport that answers what it was told to, in order, and remembers what it was asked to send. Replies
// come through the awaiting coroutine's executor, never inline. Safe from any thread.

#include <deque>
#include <functional>
#include <mutex>
#include <variant>
#include <vector>

#include "platform/URLSession/URLSession.hpp"

namespace platform::testing {

class ScriptedURLSession : public URLSession {
  public:
    /// The answer to the next `data` that has none yet; without one, `data` fails with cannotConnectToHost.
    void answer(URLReply reply);
    void answer(URLErrorCode error);
    /// A reply over HTTP from the request's own URL.
    void answer(int statusCode, std::string data);
    /// A reply that did not come over HTTP.
    void answerWithoutHTTP(std::string data);

    /// Called with each `data`, before its answer.
    void onRequest(std::function<void()> observer);

    /// Every request, awaited or forgotten, in order.
    std::vector<URLRequest> requests() const;
    std::vector<URLRequest> forgottenRequests() const;

    boost::asio::awaitable<URLReply> data(URLRequest request) override;
    void startDataTask(URLRequest request) override;
    bool waitForForgottenTasks(std::chrono::milliseconds limit) override;

  private:
    struct Reply {
        std::optional<int> statusCode;
        std::string data;
    };
    using Answer = std::variant<URLReply, URLErrorCode, Reply>;

    URLReply take(const URLRequest& request);

    mutable std::mutex mutex_;
    std::deque<Answer> answers_;
    std::function<void()> observer_;
    std::vector<URLRequest> requests_;
    std::vector<URLRequest> forgottenRequests_;
};

}  // namespace platform::testing
