#pragma once

// A request and its response as the URL session takes and gives them. Plain values.

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/URL/URL.hpp"

namespace platform {

struct HTTPHeaderField {
    std::string name;
    std::string value;
    bool operator==(const HTTPHeaderField&) const = default;
};

/// Whether a request may go out a second time, on a new connection, when a kept one turns out to have been
/// closed before a byte of the reply came. The server may have acted on the first.
enum class Resending {
    /// Only what HTTP calls idempotent (RFC 9110 section 9.2.2); everything else starts on a new connection.
    byMethod,
    /// The request may be repeated whatever its method: it only reads.
    allowed,
};

/// Header names keep the spelling they were first set with, and go out in the order in which they were set.
struct URLRequest {
    /// User information in it is not sent.
    URL url;
    std::chrono::milliseconds timeoutInterval = std::chrono::seconds(60);
    std::string httpMethod = "GET";
    std::vector<HTTPHeaderField> headers = {};
    std::string httpBody = {};
    Resending resending = Resending::byMethod;

    /// Replaces the value of a field of that name (compared without case), else adds the field.
    void setValue(std::string value, std::string_view field);
    std::optional<std::string> value(std::string_view field) const;
};

struct URLResponse {
    /// Where the reply came from, after redirects.
    URL url;
    /// Absent when the reply did not come over HTTP.
    std::optional<int> statusCode;
    std::vector<HTTPHeaderField> headers = {};
};

struct URLReply {
    URLResponse response;
    std::string data;
};

}  // namespace platform
