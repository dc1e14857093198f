// SPDX-License-Identifier: Apache-2.0

#include "sandbox/EventLogReader.hpp"

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>

#include "platform/URL/URL.hpp"
#include "sandbox/Error.hpp"

namespace sandbox {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
namespace json = boost::json;
using asio::ip::tcp;

template <typename Stream>
std::string fetched(Stream& stream, const std::string& host) {
    http::request<http::empty_body> request(http::verb::get, "/events", 11);
    request.set(http::field::host, host);
    http::write(stream, request);
    boost::beast::flat_buffer buffer;
    http::response_parser<http::string_body> parser;
    parser.body_limit(std::uint64_t{1} << 30);
    http::read(stream, buffer, parser);
    if (parser.get().result() != http::status::ok) throw Error("the sandbox does not show its log");
    return parser.get().body();
}

std::string fetchedLog(const std::string& baseURL, const std::optional<std::string>& authority) {
    const auto url = boost::urls::parse_uri(baseURL);
    if (!url || (url->scheme() != "http" && url->scheme() != "https") || url->host().empty()) {
        throw Error("\"" + platform::addressForDisplay(baseURL) + "\" is no base URL");
    }
    const std::string host = url->host();
    const std::string service = url->has_port() ? std::string(url->port()) : std::string(url->scheme());
    asio::io_context context;
    tcp::resolver resolver(context);
    const auto endpoints = resolver.resolve(host, service);
    if (url->scheme() == "http") {
        tcp::socket socket(context);
        asio::connect(socket, endpoints);
        return fetched(socket, host);
    }
    asio::ssl::context secure(asio::ssl::context::tls_client);
    secure.set_default_verify_paths();
    if (authority) secure.add_certificate_authority(asio::buffer(*authority));
    asio::ssl::stream<tcp::socket> stream(context, secure);
    stream.set_verify_mode(asio::ssl::verify_peer);
    stream.set_verify_callback(asio::ssl::host_name_verification(host));
    asio::connect(stream.next_layer(), endpoints);
    stream.handshake(asio::ssl::stream_base::client);
    return fetched(stream, host);
}

void indent(std::string& text, std::size_t depth) {
    text.append(1, '\n').append(2 * depth, ' ');
}

/// What fits on a line stands on one.
void print(std::string& text, const json::value& value, std::size_t depth) {
    constexpr std::size_t lineLength = 100;
    const std::string line = json::serialize(value);
    if (line.size() + 2 * depth <= lineLength || !value.is_structured() || line.size() <= 2) {
        text += line;
    } else if (value.is_object()) {
        text += '{';
        for (const auto& member : value.get_object()) {
            if (text.back() != '{') text += ',';
            indent(text, depth + 1);
            text += json::serialize(json::string(member.key())) + ": ";
            print(text, member.value(), depth + 1);
        }
        indent(text, depth);
        text += '}';
    } else {
        text += '[';
        for (const json::value& item : value.get_array()) {
            if (text.back() != '[') text += ',';
            indent(text, depth + 1);
            print(text, item, depth + 1);
        }
        indent(text, depth);
        text += ']';
    }
}

}  // namespace

std::string readEventLog(const std::string& baseURL, const std::optional<std::string>& authority) {
    try {
        const json::value log = json::parse(fetchedLog(baseURL, authority));
        std::string text;
        print(text, log, 0);
        return text + "\n";
    } catch (const boost::system::system_error& error) {
        throw Error("the sandbox at " + platform::addressForDisplay(baseURL) +
                    " does not answer: " + error.code().message());
    }
}

}  // namespace sandbox
