// SPDX-License-Identifier: Apache-2.0

#pragma once

// A server on loopback that speaks TLS with a certificate of the test's choosing, one connection after the
// other.

#include <openssl/ssl.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "platform/URL/URL.hpp"

namespace platform::testing {

/// What the server shows and speaks. The certificate vouches for itself.
struct SecureServerOptions {
    std::string commonName = "loopback";
    /// As OpenSSL spells it; empty for none.
    std::string subjectAlternativeName = "IP:127.0.0.1";
    long validFromSeconds = -7200;
    long validForSeconds = 3600;
    /// Zero for a key on the curve P-256.
    unsigned rsaBits = 0;
    int maximumVersion = TLS1_3_VERSION;
    std::string_view protocol = "http/1.1";
    /// Called for every connection after the handshake.
    std::function<void(SSL* connection)> converse = nullptr;
};

/// The reply to whatever is asked.
std::function<void(SSL*)> replying(std::string reply);

class SecureServer {
  public:
    explicit SecureServer(SecureServerOptions options = {});
    ~SecureServer();
    SecureServer(const SecureServer&) = delete;
    SecureServer& operator=(const SecureServer&) = delete;

    /// Returns when no connection is served any more, and none will be.
    void end();
    /// "https://127.0.0.1:PORT/".
    URL url() const;
    int connections() const { return connections_; }
    /// The protocols that the client offered last, as they stood in its hello. Only after `end`.
    const std::string& offered() const { return offered_; }
    /// In PEM.
    std::string certificate() const;
    /// The name that a hashed folder knows the certificate by.
    std::string hashedName() const;

  private:
    struct Release {
        void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
        void operator()(X509* certificate) const { X509_free(certificate); }
        void operator()(SSL_CTX* context) const { SSL_CTX_free(context); }
    };

    static int choose(SSL*, const unsigned char** chosen, unsigned char* size, const unsigned char* offered,
                      unsigned int offeredSize, void* server);
    void makeCertificate();
    void listen();
    void serve();
    void serve(int socket);

    SecureServerOptions options_;
    std::unique_ptr<EVP_PKEY, Release> key_;
    std::unique_ptr<X509, Release> certificate_;
    std::unique_ptr<SSL_CTX, Release> context_;
    std::string offered_;
    int listener_ = -1;
    std::uint16_t port_ = 0;
    std::atomic<int> connections_ = 0;
    std::atomic<int> socket_ = -1;
    std::atomic<bool> isEnding_ = false;
    std::thread thread_;
};

}  // namespace platform::testing
