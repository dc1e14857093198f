// SPDX-License-Identifier: Apache-2.0

#include "host/page/PageCommand.hpp"

#include <unistd.h>

#include <boost/asio/error.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <cerrno>
#include <csignal>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

#include "host/page/Page.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/Files/Writing.hpp"
#include "platform/HTTPServer/HTTPServer.hpp"

namespace host {

namespace asio = boost::asio;

namespace {

/// A page that waits longer for its drawings is shown without them.
constexpr std::chrono::milliseconds answerLimit = std::chrono::seconds(30);

std::string whyNotListening(unsigned short port, const boost::system::error_code& error) {
    const std::string name = "port " + std::to_string(port);
    if (error == asio::error::address_in_use)
        return name + " is in use by another program; name another one, or none for a free one";
    return name + " cannot be listened at: " + error.message();
}

platform::HTTPServer listening(const asio::any_io_executor& executor, unsigned short port) {
    try {
        return platform::HTTPServer(executor, {.port = port});
    } catch (const boost::system::system_error& error) {
        throw std::runtime_error(whyNotListening(port, error.code()));
    }
}

void printAddress(const PageDoor& door) {
    if (!platform::writeAll(STDOUT_FILENO, door.address() + "\n"))
        throw std::system_error(errno, std::generic_category(), "cannot write to standard output");
}

}  // namespace

int PageCommand::run() const {
    std::exception_ptr failure;
    asio::io_context context(1);
    platform::requireTimers(context);
    asio::signal_set signals(context, SIGINT, SIGTERM, SIGHUP);
    signals.async_wait([&](const boost::system::error_code& error, int) {
        if (!error) context.stop();
    });
    const auto end = [&](const std::exception_ptr& thrown) {
        failure = thrown;
        context.stop();
    };

    auto files = PageFiles::in(resources / "page");
    auto server = listening(context.get_executor(), port);
    const auto door = PageDoor::made(server.port());
    LiveHostClient::Options client;
    client.program = program;
    client.answerLimit = client.reloadLimit = answerLimit;
    // Where there can be no live host the page ends, and nobody is to have its address.
    const auto onBegun = [&] {
        try {
            printAddress(door);
        } catch (...) {
            end(std::current_exception());
        }
    };
    Page page(context.get_executor(),
              {.door = door, .files = std::move(files), .client = std::move(client), .onBegun = onBegun});
    server.serve([&](platform::HTTPRequest request) { return page.answer(std::move(request)); });
    platform::spawn(context, page.follow(), end);
    context.run();
    if (failure) std::rethrow_exception(failure);
    return 0;
}

}  // namespace host
