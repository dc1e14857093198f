// SPDX-License-Identifier: Apache-2.0

#pragma once

// What an HTTP server of ours is asked, and what it answers. Plain values; header fields keep their order.

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

class EventStream;

struct HTTPField {
    std::string name;
    std::string value;
    bool operator==(const HTTPField&) const = default;
};

struct HTTPRequest {
    std::string method;
    /// As it came: path and query, or whatever else stood there.
    std::string target;
    std::vector<HTTPField> fields = {};
    std::string body = {};

    std::string_view path() const;
    /// Without the question mark; empty where there is none.
    std::string_view query() const;
    /// Every value of a field, its name compared without case.
    std::vector<std::string_view> values(std::string_view field) const;
};

struct HTTPResponse {
    int status = 200;
    /// Without Content-Length and Connection, which are the server's to write.
    std::vector<HTTPField> fields = {};
    std::string body = {};
    /// In place of a body, what happens from now on.
    std::shared_ptr<EventStream> events = nullptr;
};

}  // namespace platform
