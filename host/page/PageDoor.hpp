// SPDX-License-Identifier: Apache-2.0

#pragma once

// Who is let in to the page. Whatever runs on this machine can reach a port on loopback, and so can any web
// page that is open in a browser; the packages are for whoever was given the address. Pure functions, safe
// from any thread, but for the making of a token.

#include <optional>
#include <string>
#include <string_view>

#include "platform/HTTPServer/HTTPMessage.hpp"

namespace host {

struct PageDoor {
    std::string port;
    /// What stands first in every path, 192 random bits as 32 characters; of this start alone.
    std::string token;

    /// With a token of its own. Throws std::system_error where the system gives no random bytes.
    static PageDoor made(unsigned short port);

    /// As in "http://127.0.0.1:40123/TOKEN/".
    std::string address() const;

    /// What is said to a request that is not let in: one that is addressed to another name, sent by another
    /// site's page, of another method than there is, or without the token. Nothing where it is let in.
    std::optional<platform::HTTPResponse> refusal(const platform::HTTPRequest& request) const;

    /// What of the path follows the token and its slash; nothing for another token. How long it takes does
    /// not depend on how much of the token is right.
    std::optional<std::string_view> pathWithin(std::string_view path) const;
};

/// An answer that no browser keeps, lets others embed, or takes for something else than it is.
platform::HTTPResponse pageResponse(int status, std::string_view contentType, std::string body);

}  // namespace host
