// SPDX-License-Identifier: Apache-2.0

#include "tests/platform/SecureServer.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <utility>

#include "tests/support/LoopbackServer.hpp"

namespace platform::testing {

std::function<void(SSL*)> replying(std::string reply) {
    return [reply = std::move(reply)](SSL* connection) {
        std::array<char, 4096> request;
        if (SSL_read(connection, request.data(), request.size()) > 0)
            SSL_write(connection, reply.data(), static_cast<int>(reply.size()));
    };
}

SecureServer::SecureServer(SecureServerOptions options)
    : options_(std::move(options)),
      key_(options_.rsaBits == 0
               ? EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256")
               : EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", static_cast<std::size_t>(options_.rsaBits))),
      certificate_(X509_new()),
      context_(SSL_CTX_new(TLS_server_method())) {
    if (!options_.converse) options_.converse = replying(httpReply(200, "secret"));
    makeCertificate();
    // The server itself is not what is tested: it may be as weak as the test likes.
    SSL_CTX_set_security_level(context_.get(), 0);
    SSL_CTX_set_min_proto_version(context_.get(), TLS1_VERSION);
    SSL_CTX_set_max_proto_version(context_.get(), options_.maximumVersion);
    SSL_CTX_use_certificate(context_.get(), certificate_.get());
    SSL_CTX_use_PrivateKey(context_.get(), key_.get());
    SSL_CTX_set_alpn_select_cb(context_.get(), &SecureServer::choose, this);
    listen();
    thread_ = std::thread([this] { serve(); });
}

SecureServer::~SecureServer() {
    end();
    ::close(listener_);
}

void SecureServer::end() {
    isEnding_ = true;
    ::shutdown(listener_, SHUT_RDWR);
    if (const int socket = socket_; socket >= 0) ::shutdown(socket, SHUT_RDWR);
    if (thread_.joinable()) thread_.join();
}

URL SecureServer::url() const {
    return URL::parse("https://127.0.0.1:" + std::to_string(port_) + "/").value();
}

std::string SecureServer::certificate() const {
    const std::unique_ptr<BIO, decltype(&BIO_free_all)> memory(BIO_new(BIO_s_mem()), &BIO_free_all);
    PEM_write_bio_X509(memory.get(), certificate_.get());
    char* text = nullptr;
    const long size = BIO_get_mem_data(memory.get(), &text);
    return {text, static_cast<std::size_t>(size)};
}

std::string SecureServer::hashedName() const {
    std::array<char, 16> name = {};
    std::snprintf(name.data(), name.size(), "%08lx.0",
                  X509_NAME_hash_ex(X509_get_subject_name(certificate_.get()), nullptr, nullptr, nullptr));
    return name.data();
}

int SecureServer::choose(SSL*, const unsigned char** chosen, unsigned char* size,
                         const unsigned char* offered, unsigned int offeredSize, void* server) {
    auto& self = *static_cast<SecureServer*>(server);
    self.offered_.assign(reinterpret_cast<const char*>(offered), offeredSize);
    *chosen = reinterpret_cast<const unsigned char*>(self.options_.protocol.data());
    *size = static_cast<unsigned char>(self.options_.protocol.size());
    return SSL_TLSEXT_ERR_OK;
}

void SecureServer::makeCertificate() {
    X509* const made = certificate_.get();
    X509_set_version(made, X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(made), 1);
    X509_gmtime_adj(X509_getm_notBefore(made), options_.validFromSeconds);
    X509_gmtime_adj(X509_getm_notAfter(made), options_.validForSeconds);
    X509_set_pubkey(made, key_.get());
    X509_NAME_add_entry_by_txt(X509_get_subject_name(made), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>(options_.commonName.c_str()), -1, -1,
                               0);
    X509_set_issuer_name(made, X509_get_subject_name(made));
    if (!options_.subjectAlternativeName.empty()) {
        X509_EXTENSION* const names = X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name,
                                                          options_.subjectAlternativeName.c_str());
        X509_add_ext(made, names, -1);
        X509_EXTENSION_free(names);
    }
    X509_sign(made, key_.get(), EVP_sha256());
}

void SecureServer::listen() {
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    ::bind(listener_, reinterpret_cast<const sockaddr*>(&address), size);
    ::listen(listener_, 16);
    ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
}

void SecureServer::serve() {
    // A client that trusts nobody hangs up in the middle of the handshake.
    sigset_t brokenPipe;
    ::sigemptyset(&brokenPipe);
    ::sigaddset(&brokenPipe, SIGPIPE);
    ::pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
    for (;;) {
        const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0) return;
        socket_ = socket;
        ++connections_;
        if (!isEnding_) serve(socket);
        socket_ = -1;
        ::close(socket);
    }
}

void SecureServer::serve(int socket) {
    const std::unique_ptr<SSL, decltype(&SSL_free)> connection(SSL_new(context_.get()), &SSL_free);
    SSL_set_fd(connection.get(), socket);
    if (SSL_accept(connection.get()) == 1) options_.converse(connection.get());
}

}  // namespace platform::testing
