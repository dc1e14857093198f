// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Readers/LineFollower.hpp"

#include <unistd.h>

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

#include "platform/Asio/Coroutines.hpp"
#include "platform/Asio/Pause.hpp"
#include "platform/Files/Writing.hpp"
#include "platform/Streams/Streams.hpp"

namespace host {

namespace asio = boost::asio;

namespace {

constexpr std::chrono::milliseconds pauseWithoutUse = std::chrono::minutes(1);

}  // namespace

LineFollower::LineFollower(const asio::any_io_executor& executor, Form form, FormWithoutHost formWithoutHost)
    : form_(std::move(form)),
      formWithoutHost_(std::move(formWithoutHost)),
      end_(executor, asio::steady_timer::time_point::max()),
      client_(executor),
      outputEnd_(executor, STDOUT_FILENO, StreamWatch::Interest::abandoned, [this] { end(); }) {}

asio::awaitable<void> LineFollower::run(std::string opening) {
    write(opening);
    platform::spawn(end_.get_executor(), follow(),
                    [this](const std::exception_ptr& failure) { end(failure); });
    boost::system::error_code ignored;
    co_await end_.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    client_.close();
    if (failure_) std::rethrow_exception(failure_);
}

asio::awaitable<void> LineFollower::follow() {
    if (!formWithoutHost_) co_return co_await followHost();
    while (true) {
        std::string why;
        try {
            co_return co_await followHost();
        } catch (const LiveHostError& error) {
            why = error.what();
        }
        // Who reads this hides what ends, and a host that can be had may begin.
        takeGap(why);
        co_await platform::pause(pauseWithoutUse);
    }
}

asio::awaitable<void> LineFollower::followHost() {
    co_await client_.follow(
        [this](const LiveState& state) {
            shown_.take(state);
            print();
        },
        [this](std::string_view why) { takeGap(why); });
}

void LineFollower::takeGap(std::string_view why) {
    shown_.lose(platform::Date::now());
    if (formWithoutHost_ && shown_.state().isPlaceholder)
        print(formWithoutHost_(why));
    else
        print();
    if (why != complaint_) platform::printError("vela-widget", why);
    complaint_ = why;
}

void LineFollower::print() {
    print(form_(shown_.state()));
}

void LineFollower::print(std::string text) {
    if (text == printed_) return;
    write(text);
    printed_ = std::move(text);
}

void LineFollower::write(const std::string& text) {
    if (platform::writeAll(STDOUT_FILENO, text)) return;
    if (errno == EPIPE) return end();
    end(std::make_exception_ptr(
        std::system_error(errno, std::generic_category(), "cannot write to standard output")));
}

void LineFollower::end(std::exception_ptr failure) {
    if (!failure_) failure_ = std::move(failure);
    // Also for whoever begins to wait only now.
    end_.expires_at(asio::steady_timer::time_point::min());
}

}  // namespace host
