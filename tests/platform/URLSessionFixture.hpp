// SPDX-License-Identifier: Apache-2.0

#pragma once

// A session and short ways to use it from a test that waits.

#include <gtest/gtest.h>
#include <zlib.h>

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <exception>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "platform/URLSession/URLSession.hpp"
#include "tests/support/LoopbackServer.hpp"
#include "tests/support/Patience.hpp"
#include "tests/support/ScopedEnvironment.hpp"

namespace platform {

inline void PrintTo(URLErrorCode code, std::ostream* stream) {
    *stream << "error code " << static_cast<int>(code);
}

}  // namespace platform

namespace platform::testing {

class URLSessionTest : public ::testing::Test {
  protected:
    /// Throws what the transfer throws.
    URLReply fetch(URLRequest request) { return std::move(fetchAll({std::move(request)}).front()); }

    /// Nothing for a success.
    std::optional<URLErrorCode> failure(URLRequest request) {
        try {
            fetch(std::move(request));
            return std::nullopt;
        } catch (const URLError& error) {
            return error.code();
        }
    }

    /// All at once, with replies in the order of the requests. Throws what the first that fails throws.
    std::vector<URLReply> fetchAll(const std::vector<URLRequest>& requests) {
        std::vector<std::optional<URLReply>> replies(requests.size());
        boost::asio::io_context context;
        for (std::size_t index = 0; index < requests.size(); ++index) {
            boost::asio::co_spawn(context, keep(session->data(requests[index]), &replies[index]),
                                  [](const std::exception_ptr& error) {
                                      if (error) std::rethrow_exception(error);
                                  });
        }
        context.run();
        std::vector<URLReply> values;
        for (auto& reply : replies) values.push_back(std::move(reply.value()));
        return values;
    }

    static boost::asio::awaitable<void> keep(boost::asio::awaitable<URLReply> transfer,
                                             std::optional<URLReply>* reply) {
        *reply = co_await std::move(transfer);
    }

    /// No proxy of the machine stands between a test and its own server.
    ScopedEnvironment environment{{{"http_proxy", std::nullopt},
                                   {"https_proxy", std::nullopt},
                                   {"HTTPS_PROXY", std::nullopt},
                                   {"all_proxy", std::nullopt},
                                   {"ALL_PROXY", std::nullopt},
                                   {"no_proxy", std::nullopt},
                                   {"NO_PROXY", std::nullopt}}};
    std::shared_ptr<URLSession> session =
        URLSession::session(URLSessionConfiguration::defaultSessionConfiguration());
};

inline std::string gzip(std::string_view text) {
    z_stream stream = {};
    constexpr int gzipWindow = 15 + 16;
    deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzipWindow, 8, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, text.size()), '\0');
    std::string input(text);
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

}  // namespace platform::testing
