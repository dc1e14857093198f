// SPDX-License-Identifier: Apache-2.0

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
    /// Stays at the origin that it was made for, like the fields that every server knows for credentials.
    bool isCredential = false;
    bool operator==(const HTTPHeaderField&) const = default;
};

/// Header names keep the spelling they were first set with, and go out in the order in which they were set.
struct URLRequest {
    /// User information in it is not sent.
    URL url;
    /// How long nothing may move.
    std::chrono::milliseconds timeoutInterval = std::chrono::seconds(60);
    /// How long all of it may take, redirects included. Absent: as long as the session allows.
    std::optional<std::chrono::milliseconds> timeoutIntervalForResource = std::nullopt;
    std::string httpMethod = "GET";
    std::vector<HTTPHeaderField> headers = {};
    std::string httpBody = {};

    /// Replaces the value of a field of that name (compared without case), else adds the field.
    void setValue(std::string value, std::string_view field);
    /// As `setValue`, and no redirect takes the field to another origin.
    void setCredential(std::string value, std::string_view field);
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
