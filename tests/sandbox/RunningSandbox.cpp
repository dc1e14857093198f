// SPDX-License-Identifier: Apache-2.0

#include "tests/sandbox/RunningSandbox.hpp"

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/write.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <sstream>

#include "sandbox/Operations.hpp"

namespace tests {
namespace {

namespace asio = boost::asio;
namespace json = boost::json;
using asio::ip::tcp;
using boost::system::error_code;
using sandbox::HeaderField;

std::string hostAndPort(const std::string& baseURL) {
    return baseURL.substr(baseURL.find("//") + 2);
}

}  // namespace

std::string Reply::value(std::string_view field) const {
    for (const HeaderField& header : headers) {
        if (sandbox::equalsWithoutCase(header.name, field)) return header.value;
    }
    return {};
}

json::value Reply::json() const {
    error_code error;
    return json::parse(body, error);
}

class Connection::Stream {
  public:
    Stream(const std::string& baseURL, const std::string& authority)
        : isSecure_(baseURL.substr(0, 5) == "https"),
          secure_(asio::ssl::context::tls_client),
          stream_(context_, secure_) {
        const std::string place = hostAndPort(baseURL);
        const auto port = static_cast<unsigned short>(std::stoi(place.substr(place.find(':') + 1)));
        stream_.next_layer().connect({asio::ip::address_v4::loopback(), port});
        if (!isSecure_) return;
        if (!authority.empty()) secure_.add_certificate_authority(asio::buffer(authority));
        stream_.set_verify_mode(asio::ssl::verify_peer);
        stream_.set_verify_callback(asio::ssl::host_name_verification("127.0.0.1"));
        stream_.handshake(asio::ssl::stream_base::client);
    }

    void write(std::string_view bytes) {
        if (isSecure_) {
            asio::write(stream_, asio::buffer(bytes));
        } else {
            asio::write(stream_.next_layer(), asio::buffer(bytes));
        }
    }

    /// One more piece of what came in; false at the end.
    bool readMore(std::string& text) {
        char piece[65536];
        error_code error;
        const std::size_t count = isSecure_ ? stream_.read_some(asio::buffer(piece), error)
                                            : stream_.next_layer().read_some(asio::buffer(piece), error);
        text.append(piece, count);
        return !error;
    }

  private:
    asio::io_context context_;
    bool isSecure_;
    asio::ssl::context secure_;
    asio::ssl::stream<tcp::socket> stream_;
};

Connection::Connection(const std::string& baseURL, const std::string& authority)
    : stream_(std::make_unique<Stream>(baseURL, authority)) {}

Connection::~Connection() = default;

void Connection::send(std::string_view bytes) {
    stream_->write(bytes);
}

Reply Connection::receive() {
    std::string text;
    std::size_t end = std::string::npos;
    while ((end = text.find("\r\n\r\n")) == std::string::npos) {
        if (!stream_->readMore(text)) return {};
    }
    Reply reply;
    std::istringstream head(text.substr(0, end + 2));
    std::string line;
    std::getline(head, line);
    reply.status = std::stoi(line.substr(line.find(' ') + 1));
    while (std::getline(head, line)) {
        const std::size_t colon = line.find(": ");
        reply.headers.push_back({line.substr(0, colon), line.substr(colon + 2, line.size() - colon - 3)});
    }
    reply.body = text.substr(end + 4);
    const std::size_t announced = std::stoul("0" + reply.value("Content-Length"));
    while (reply.body.size() < announced && stream_->readMore(reply.body)) continue;
    reply.isWhole = reply.body.size() == announced;
    return reply;
}

bool Connection::isClosedByPeer() {
    std::string text;
    return !stream_->readMore(text) && text.empty();
}

RunningSandbox::RunningSandbox(const sandbox::SandboxOptions& options)
    : sandbox_(options), thread_([this] { sandbox_.run(); }) {}

RunningSandbox::~RunningSandbox() {
    sandbox_.stop();
    thread_.join();
}

Reply RunningSandbox::get(const std::string& target) const {
    Connection connection(baseURL());
    connection.send(requestText("GET", target, {}, {}));
    return connection.receive();
}

Reply RunningSandbox::post(const std::string& target, const std::vector<HeaderField>& headers,
                           const std::string& body) const {
    Connection connection(baseURL());
    connection.send(requestText("POST", target, headers, body));
    return connection.receive();
}

Reply RunningSandbox::query(const HeaderField& credential) const {
    std::vector<HeaderField> headers = {{"Content-type", "application/json"}, {"Accept", "application/json"}};
    if (!credential.name.empty()) headers.push_back(credential);
    return post("/graphql", headers, queryBody());
}

Reply RunningSandbox::refresh(const std::string& refreshToken) const {
    return post("/graphql", {{"Content-type", "application/json"}}, refreshBody(refreshToken));
}

json::value RunningSandbox::log() const {
    return get("/events").json();
}

sandbox::SandboxOptions serving(const std::string& scenario) {
    return {.scenario = scenario, .dataFolder = SANDBOX_DATA_FOLDER};
}

sandbox::SandboxOptions serving(const std::string& scenario, const sandbox::Faults& faults) {
    sandbox::SandboxOptions options = serving(scenario);
    options.faults = faults;
    return options;
}

std::string requestText(const std::string& method, const std::string& target,
                        const std::vector<HeaderField>& headers, const std::string& body) {
    std::string text = method + " " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n";
    for (const HeaderField& field : headers) text += field.name + ": " + field.value + "\r\n";
    if (!body.empty()) text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    return text + "\r\n" + body;
}

std::string queryBody() {
    return json::serialize(json::object{{"query", sandbox::operations[0].text},
                                        {"variables", json::object{{"maxImageSize", 192}}}});
}

std::vector<HeaderField> signedInHeaders() {
    return {{"Content-type", "application/json"}, {"authorization", "Bearer sandbox-access"}};
}

std::string signedInQuery() {
    return requestText("POST", "/graphql", signedInHeaders(), queryBody());
}

std::string refreshBody(const std::string& refreshToken) {
    return json::serialize(json::object{{"query", sandbox::operations[1].text},
                                        {"variables", json::object{{"refreshToken", refreshToken}}}});
}

json::value at(const json::value& value, const std::string& path) {
    error_code error;
    const json::value* found = value.find_pointer(path, error);
    return found == nullptr ? json::value() : *found;
}

std::string text(const json::value& value) {
    return value.is_string() ? std::string(value.get_string()) : json::serialize(value);
}

}  // namespace tests
