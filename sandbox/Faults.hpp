// SPDX-License-Identifier: Apache-2.0

#pragma once

// What goes wrong on purpose. Faults touch the replies of one service, or of all, for the first few requests
// or for good.

#include <chrono>
#include <cstddef>
#include <optional>

#include "sandbox/Message.hpp"

namespace sandbox {

enum class FaultScope { graphql, produce, pictures, all };

enum class Redirection {
    none,
    /// To the same place, for ever.
    loop,
    /// To the same place, which then answers.
    once,
    /// To the sandbox's second port, which answers.
    crossOrigin,
};

enum class ContentCoding { asAsked, plain };

/// What becomes of a connection after a reply.
enum class Persistence {
    kept,
    /// Closed, though the reply did not say so.
    closedUnannounced,
};

struct Faults {
    FaultScope scope = FaultScope::graphql;
    /// Only so many requests are touched; the later ones are answered as they should be.
    std::optional<int> count = std::nullopt;

    std::chrono::milliseconds delay = std::chrono::milliseconds(0);
    /// In place of the status; the body stays.
    std::optional<int> status = std::nullopt;
    Manner manner = Manner::whole;
    Redirection redirection = Redirection::none;
    int redirectionStatus = 302;
    /// `asAsked` compresses where the client accepts gzip.
    ContentCoding coding = ContentCoding::plain;
    /// Blanks put behind the body.
    std::size_t padding = 0;
    Persistence persistence = Persistence::kept;
};

/// Whether a request for this path is in the scope.
bool touches(FaultScope scope, std::string_view path);

/// The redirection that stands in place of an answer, if there is one. Whoever redirects has not looked at
/// what was asked: a token pair, for one, is not renewed.
std::optional<Response> redirected(const Request& request, const Faults& faults,
                                   std::string_view otherOrigin);

/// Changes the response as the faults say, but for the delay, which is the connection's to wait.
Response spoiled(Response response, const Request& request, const Faults& faults);

}  // namespace sandbox
