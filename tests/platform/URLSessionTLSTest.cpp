#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <optional>
#include <thread>

#include "tests/platform/URLSessionFixture.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform {
namespace {

template <auto release>
struct Release {
    template <typename Object>
    void operator()(Object* object) const {
        release(object);
    }
};
template <typename Object, auto release>
using Handle = std::unique_ptr<Object, Release<release>>;

using Key = Handle<EVP_PKEY, EVP_PKEY_free>;
using Certificate = Handle<X509, X509_free>;

// A certificate for 127.0.0.1 that vouches for itself.
Certificate certificate(EVP_PKEY* key) {
    Certificate made(X509_new());
    X509_set_version(made.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(made.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(made.get()), -3600);
    X509_gmtime_adj(X509_getm_notAfter(made.get()), 3600);
    X509_set_pubkey(made.get(), key);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(made.get()), "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>("loopback"), -1, -1, 0);
    X509_set_issuer_name(made.get(), X509_get_subject_name(made.get()));
    const Handle<X509_EXTENSION, X509_EXTENSION_free> name(
        X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, "IP:127.0.0.1"));
    X509_add_ext(made.get(), name.get(), -1);
    X509_sign(made.get(), key, EVP_sha256());
    return made;
}

// Answers one connection's requests over TLS, and keeps what the client offered to speak.
class SecureServer {
  public:
    SecureServer()
        : key_(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256")), certificate_(certificate(key_.get())) {
        SSL_CTX_use_certificate(context_.get(), certificate_.get());
        SSL_CTX_use_PrivateKey(context_.get(), key_.get());
        SSL_CTX_set_alpn_select_cb(context_.get(), &SecureServer::choose, this);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        ::bind(listener_, reinterpret_cast<const sockaddr*>(&address), size);
        ::listen(listener_, 1);
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
        port_ = ntohs(address.sin_port);
        thread_ = std::thread(&SecureServer::serve, this);
    }
    ~SecureServer() {
        end();
        ::close(listener_);
    }
    SecureServer(const SecureServer&) = delete;
    SecureServer& operator=(const SecureServer&) = delete;

    void end() {
        ::shutdown(listener_, SHUT_RDWR);
        if (thread_.joinable()) thread_.join();
    }
    URL url() const { return URL::parse("https://127.0.0.1:" + std::to_string(port_) + "/").value(); }
    const std::string& offered() const { return offered_; }
    std::string certificateText() const {
        const Handle<BIO, BIO_free_all> memory(BIO_new(BIO_s_mem()));
        PEM_write_bio_X509(memory.get(), certificate_.get());
        char* text = nullptr;
        const long size = BIO_get_mem_data(memory.get(), &text);
        return {text, static_cast<std::size_t>(size)};
    }
    /// The name that a hashed folder knows the certificate by.
    std::string hashedName() const {
        std::array<char, 16> name = {};
        std::snprintf(
            name.data(), name.size(), "%08lx.0",
            X509_NAME_hash_ex(X509_get_subject_name(certificate_.get()), nullptr, nullptr, nullptr));
        return name.data();
    }

  private:
    static int choose(SSL*, const unsigned char** chosen, unsigned char* size, const unsigned char* offered,
                      unsigned int offeredSize, void* server) {
        static_cast<SecureServer*>(server)->offered_.assign(reinterpret_cast<const char*>(offered),
                                                            offeredSize);
        static constexpr std::string_view http = "http/1.1";
        *chosen = reinterpret_cast<const unsigned char*>(http.data());
        *size = http.size();
        return SSL_TLSEXT_ERR_OK;
    }

    void serve() {
        // A client that trusts nobody hangs up in the middle of the handshake.
        sigset_t brokenPipe;
        ::sigemptyset(&brokenPipe);
        ::sigaddset(&brokenPipe, SIGPIPE);
        ::pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
        const int socket = ::accept(listener_, nullptr, nullptr);
        if (socket < 0) return;
        const Handle<SSL, SSL_free> connection(SSL_new(context_.get()));
        SSL_set_fd(connection.get(), socket);
        if (SSL_accept(connection.get()) == 1) {
            std::array<char, 4096> request;
            if (SSL_read(connection.get(), request.data(), request.size()) > 0) {
                const std::string reply = platform::testing::httpReply(200, "secret");
                SSL_write(connection.get(), reply.data(), static_cast<int>(reply.size()));
            }
        }
        ::close(socket);
    }

    Key key_;
    Certificate certificate_;
    Handle<SSL_CTX, SSL_CTX_free> context_{SSL_CTX_new(TLS_server_method())};
    std::string offered_;
    int listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    std::uint16_t port_ = 0;
    std::thread thread_;
};

class URLSessionTLS : public platform::testing::URLSessionTest {
  protected:
    using Path = std::optional<std::string>;

    /// How a fetch goes where the environment names these trust stores.
    std::string outcome(const URL& url, const Path& file, const Path& certificateFolder) {
        const platform::testing::ScopedEnvironment trust(
            {{"SSL_CERT_FILE", file}, {"SSL_CERT_DIR", certificateFolder}});
        try {
            return fetch({.url = url}).data;
        } catch (const URLError& error) {
            return error.code() == URLErrorCode::secureConnectionFailed ? "not trusted" : error.what();
        }
    }

    SecureServer server;
    platform::testing::TemporaryFolder folder;
};

TEST_F(URLSessionTLS, TrustsAFileOfOnesOwnAndOffersHTTP2) {
    const auto file = folder.write("certificate.pem", server.certificateText());
    EXPECT_EQ(outcome(server.url(), file.string(), std::nullopt), "secret");
    server.end();
    EXPECT_EQ(server.offered(), "\x02h2\x08http/1.1");
}

TEST_F(URLSessionTLS, TrustsAFolderOfOnesOwn) {
    folder.write(server.hashedName(), server.certificateText());
    EXPECT_EQ(outcome(server.url(), std::nullopt, folder.path().string()), "secret");
}

TEST_F(URLSessionTLS, TrustsNobodyElse) {
    const std::vector<std::pair<Path, Path>> stores = {
        {std::nullopt, std::nullopt},
        {std::nullopt, folder.path().string()},
        {(folder.path() / "missing").string(), std::nullopt},
    };
    for (const auto& [file, certificateFolder] : stores) {
        const SecureServer stranger;
        EXPECT_EQ(outcome(stranger.url(), file, certificateFolder), "not trusted");
    }
}

TEST_F(URLSessionTLS, IsNotTakenForPlainHTTP) {
    const platform::testing::LoopbackServer plain(platform::testing::httpReply(200, "x"));
    const URL url = URL::parse("https://127.0.0.1:" + std::to_string(plain.port()) + "/").value();
    EXPECT_EQ(failure({.url = url, .timeoutInterval = std::chrono::milliseconds(300)}),
              URLErrorCode::timedOut);
}

}  // namespace
}  // namespace platform
