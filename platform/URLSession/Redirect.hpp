// SPDX-License-Identifier: Apache-2.0

#pragma once

// What follows from a reply that points elsewhere. A pure function.

#include <optional>

#include "platform/URLSession/URLRequest.hpp"

namespace platform {

/// The request to send next; nothing when the reply is the one to hand out: it redirects nowhere, or it asks
/// for the body to be sent to another origin, which never happens. Throws URLError for a scheme other than
/// http and https, and for http after https.
std::optional<URLRequest> requestAfterRedirect(const URLRequest& request, const URLResponse& response);

}  // namespace platform
