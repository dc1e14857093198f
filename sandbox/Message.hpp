// SPDX-License-Identifier: Apache-2.0

#pragma once

// An HTTP request and its response, as the servers of the sandbox take and give them. Plain values. Header
// fields keep the order and the spelling that they had on the wire.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Text/ASCII.hpp"

namespace sandbox {

struct HeaderField {
    std::string name;
    std::string value;
    bool operator==(const HeaderField&) const = default;
};

/// Which of the sandbox's two ports a request came in at. The second one is there to be redirected to.
enum class Origin { first, second };

struct Request {
    std::string method;
    std::string target;
    std::vector<HeaderField> headers = {};
    std::string body = {};
    Origin origin = Origin::first;

    std::string_view path() const;
    /// The value of a query parameter as a whole number.
    std::optional<int> number(std::string_view parameter) const;
    /// The first value of a field, its name compared without case.
    std::optional<std::string_view> value(std::string_view field) const;
};

/// How a response travels.
enum class Manner {
    whole,
    /// The announced length is right; the connection closes when half of the body is out.
    dropped,
    /// Half of the body, announced as if it were all of it.
    truncated,
    /// Something else in place of the body.
    garbled,
    /// No byte, for as long as the client waits.
    stalled,
    /// No byte; the connection is reset.
    reset,
};

struct Response {
    int status = 200;
    std::string contentType = "application/json";
    std::string body = {};
    std::vector<HeaderField> headers = {};
    Manner manner = Manner::whole;
};

using platform::equalsWithoutCase;

}  // namespace sandbox
