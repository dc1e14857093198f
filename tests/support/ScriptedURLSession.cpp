// SPDX-License-Identifier: Apache-2.0

#include "tests/support/ScriptedURLSession.hpp"

#include <boost/asio/post.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <utility>

namespace platform::testing {

void ScriptedURLSession::answer(URLReply reply) {
    const std::lock_guard lock(mutex_);
    answers_.emplace_back(std::move(reply));
}

void ScriptedURLSession::answer(URLErrorCode error) {
    const std::lock_guard lock(mutex_);
    answers_.emplace_back(error);
}

void ScriptedURLSession::answer(int statusCode, std::string data) {
    const std::lock_guard lock(mutex_);
    answers_.emplace_back(Reply{statusCode, std::move(data)});
}

void ScriptedURLSession::answerWithoutHTTP(std::string data) {
    const std::lock_guard lock(mutex_);
    answers_.emplace_back(Reply{std::nullopt, std::move(data)});
}

void ScriptedURLSession::onRequest(std::function<void()> observer) {
    observer_ = std::move(observer);
}

std::vector<URLRequest> ScriptedURLSession::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

std::vector<URLRequest> ScriptedURLSession::forgottenRequests() const {
    const std::lock_guard lock(mutex_);
    return forgottenRequests_;
}

boost::asio::awaitable<URLReply> ScriptedURLSession::data(URLRequest request) {
    co_await boost::asio::post(boost::asio::use_awaitable);
    if (observer_) observer_();
    co_return take(request);
}

void ScriptedURLSession::startDataTask(URLRequest request) {
    const std::lock_guard lock(mutex_);
    requests_.push_back(request);
    forgottenRequests_.push_back(std::move(request));
}

bool ScriptedURLSession::waitForForgottenTasks(std::chrono::milliseconds) {
    return true;
}

URLReply ScriptedURLSession::take(const URLRequest& request) {
    const std::lock_guard lock(mutex_);
    requests_.push_back(request);
    if (answers_.empty()) throw URLError(URLErrorCode::cannotConnectToHost, "no answer was scripted");
    const Answer answer = std::move(answers_.front());
    answers_.pop_front();
    if (const auto* code = std::get_if<URLErrorCode>(&answer)) throw URLError(*code, "a scripted failure");
    if (const auto* reply = std::get_if<URLReply>(&answer)) return *reply;
    const Reply& reply = std::get<Reply>(answer);
    return {.response = {.url = request.url, .statusCode = reply.statusCode}, .data = reply.data};
}

}  // namespace platform::testing
