// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a TLS connection of ours is held to, whatever the machine's OpenSSL configuration allows: TLS 1.2,
// security level 2 (keys of 112 bits, no SHA-1), and a certificate that names its hosts in a subject
// alternative name (RFC 9110 section 4.3.4; libcurl would fall back to the common name). A configuration that
// demands more stays in force.

#include <curl/curl.h>

#include <string_view>

namespace platform {

/// For CURLOPT_SSL_CTX_FUNCTION; `context` is an SSL_CTX. Safe from any thread.
CURLcode applyTLSPolicy(CURL* handle, void* context, void* unused);

/// Why the certificate of the handle's last exchange, which ended with CURLE_PEER_FAILED_VERIFICATION, was
/// not taken; empty where there are no words of ours for it.
std::string_view certificateFault(CURL* handle);

}  // namespace platform
