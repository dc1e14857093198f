// SPDX-License-Identifier: Apache-2.0

// Boost.Asio's side of OpenSSL, compiled once; only the sandbox serves TLS.
#include <boost/asio/ssl/impl/src.hpp>
