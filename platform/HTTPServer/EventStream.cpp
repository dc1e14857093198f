// SPDX-License-Identifier: Apache-2.0

#include "platform/HTTPServer/EventStream.hpp"

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <utility>

namespace platform {

namespace asio = boost::asio;

EventStream::EventStream(const asio::any_io_executor& executor) : wait_(executor) {}

void EventStream::send(std::string_view name, std::string_view data) {
    waiting_ = std::string("event: ").append(name).append("\ndata: ").append(data).append("\n\n");
    wait_.cancel();
}

void EventStream::end() {
    hasEnded_ = true;
    waiting_.reset();
    wait_.cancel();
}

asio::awaitable<std::optional<std::string>> EventStream::next(std::chrono::milliseconds beat) {
    if (!waiting_ && !hasEnded_) {
        wait_.expires_after(beat);
        boost::system::error_code ignored;
        co_await wait_.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    }
    if (hasEnded_) co_return std::nullopt;
    if (auto event = std::exchange(waiting_, std::nullopt)) co_return event;
    co_return "event: beat\ndata:\n\n";
}

}  // namespace platform
