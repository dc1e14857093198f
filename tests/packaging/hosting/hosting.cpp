// SPDX-License-Identifier: Apache-2.0

// A surface of somebody else's: prints the name of the first package, and the size of the widget's picture.

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <cstdio>
#include <exception>
#include <host/reader/LiveHostClient.hpp>
#include <host/reader/ShownState.hpp>
#include <utility>

namespace {

boost::asio::awaitable<void> show(boost::asio::io_context& context) {
    host::LiveHostClient::Options options;
    options.program = WIDGET_PROGRAM;
    host::LiveHostClient client(context.get_executor(), options);
    host::ShownState shown;
    auto settled = co_await client.settledState(std::chrono::seconds(20));
    shown.take(std::move(settled));
    const auto* signedIn = std::get_if<widget::LoggedIn>(&shown.state().entry.widgetState);
    std::printf("%s\n", signedIn ? signedIn->packages.front()->shopName().c_str() : "nobody");
    // Named, as g++ 12 destroys twice what is made within what is awaited.
    widget::DrawingRequest request = {.entry = shown.state().entry,
                                      .family = platform::WidgetFamily::systemSmall};
    const auto picture = co_await client.draw(std::move(request));
    std::printf("%s\n", picture.starts_with("\x89PNG") ? "a picture" : "no picture");
}

}  // namespace

int main() {
    boost::asio::io_context context(1);
    int status = 0;
    boost::asio::co_spawn(context, show(context), [&](const std::exception_ptr& failure) {
        try {
            if (failure) std::rethrow_exception(failure);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
            status = 1;
        }
        context.stop();
    });
    context.run();
    return status;
}
