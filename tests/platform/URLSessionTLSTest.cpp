// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "platform/URLSession/TLSPolicy.hpp"
#include "tests/platform/SecureServer.hpp"
#include "tests/platform/URLSessionFixture.hpp"
#include "tests/support/Program.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace platform {
namespace {

using platform::testing::SecureServer;
using platform::testing::SecureServerOptions;

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

    /// The same where the server's own certificate is trusted.
    std::string outcome(const SecureServer& trusted) {
        // A file of its own: libcurl remembers for a day what it has read at a path.
        const std::string name = std::to_string(++filesTrusted) + ".pem";
        return outcome(trusted.url(), folder.write(name, trusted.certificate()).string(), std::nullopt);
    }

    /// Runs another of these tests in a process of its own, in another environment. Empty for a success.
    static std::string rerun(const std::string& test, const std::map<std::string, std::string>& environment) {
        const auto result =
            platform::testing::ProgramRun{.program = std::filesystem::read_symlink("/proc/self/exe").string(),
                                          .arguments = {"--gtest_filter=" + test},
                                          .environment = environment}
                .run();
        return result.status == 0 ? "" : result.output + result.errors;
    }

    SecureServer server;
    platform::testing::TemporaryFolder folder;
    int filesTrusted = 0;
};

TEST_F(URLSessionTLS, TrustsAFileOfOnesOwnAndOffersHTTP2) {
    const auto file = folder.write("certificate.pem", server.certificate());
    EXPECT_EQ(outcome(server.url(), file.string(), std::nullopt), "secret");
    server.end();
    EXPECT_EQ(server.offered(), "\x02h2\x08http/1.1");
}

TEST_F(URLSessionTLS, TrustsAFolderOfOnesOwn) {
    folder.write(server.hashedName(), server.certificate());
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

TEST_F(URLSessionTLS, TrustsNoCertificateThatIsNotTheHosts) {
    struct Row {
        const char* certificate;
        SecureServerOptions options;
    };
    const std::vector<Row> rows = {
        {"another address's", {.subjectAlternativeName = "IP:127.0.0.2"}},
        {"a host's of the same spelling", {.subjectAlternativeName = "DNS:127.0.0.1"}},
        {"one that has run out", {.validForSeconds = -3600}},
        {"one with a common name alone", {.commonName = "127.0.0.1", .subjectAlternativeName = ""}},
        {"one that names no host",
         {.commonName = "127.0.0.1", .subjectAlternativeName = "email:someone@example.com"}},
        {"another host's, with a fitting common name",
         {.commonName = "127.0.0.1", .subjectAlternativeName = "DNS:elsewhere.example"}},
    };
    for (const Row& row : rows) {
        const SecureServer stranger(row.options);
        EXPECT_EQ(outcome(stranger), "not trusted") << row.certificate;
    }
    EXPECT_EQ(outcome(SecureServer({.subjectAlternativeName = "DNS:elsewhere.example,IP:127.0.0.1"})),
              "secret");
}

TEST_F(URLSessionTLS, SaysWhyACertificateIsNotTaken) {
    const auto words = [&](const SecureServer& asked, bool isTrusted) {
        const auto file = folder.write(std::to_string(++filesTrusted) + ".pem",
                                       isTrusted ? asked.certificate() : server.certificate());
        const platform::testing::ScopedEnvironment trust({{"SSL_CERT_FILE", file.string()}});
        try {
            return fetch({.url = asked.url()}).data;
        } catch (const URLError& error) {
            return std::string(error.what());
        }
    };
    EXPECT_EQ(words(SecureServer({.validFromSeconds = 1800}), true), "the certificate is not valid yet");
    EXPECT_EQ(words(SecureServer({.validForSeconds = -3600}), true), "the certificate has expired");
    for (const char* name : {"IP:127.0.0.2", "DNS:elsewhere.example", ""})
        EXPECT_EQ(words(SecureServer({.subjectAlternativeName = name}), true),
                  "the certificate is another host's")
            << name;
    EXPECT_EQ(words(SecureServer(), false), "nobody vouches for the certificate whom this machine trusts");
}

TEST_F(URLSessionTLS, AsksForTLS12AndStrongKeysAtLeast) {
    EXPECT_EQ(outcome(SecureServer({.maximumVersion = TLS1_VERSION})), "not trusted");
    EXPECT_EQ(outcome(SecureServer({.maximumVersion = TLS1_1_VERSION})), "not trusted");
    EXPECT_EQ(outcome(SecureServer({.maximumVersion = TLS1_2_VERSION})), "secret");
    EXPECT_EQ(outcome(SecureServer({.rsaBits = 1024})), "not trusted");
    EXPECT_EQ(outcome(SecureServer({.rsaBits = 2048})), "secret");
}

std::string configuration(const std::string& version, const std::string& ciphers) {
    return "openssl_conf = openssl_init\n[openssl_init]\nssl_conf = ssl\n[ssl]\nsystem_default = system\n"
           "[system]\nMinProtocol = " +
           version + "\nCipherString = " + ciphers + "\n";
}

TEST_F(URLSessionTLS, AsksForNoLessWhateverTheMachineIsContentWith) {
    const auto weak = folder.write("weak.cnf", configuration("TLSv1", "ALL:@SECLEVEL=0"));
    EXPECT_EQ(rerun("URLSessionTLS.AsksForTLS12AndStrongKeysAtLeast", {{"OPENSSL_CONF", weak.string()}}), "");
    EXPECT_EQ(rerun("URLSessionTLS.Trusts*", {{"OPENSSL_CONF", weak.string()}}), "");
}

TEST_F(URLSessionTLS, AsksForMoreWhereTheMachineDoes) {
    const bool isStrict = std::getenv("OPENSSL_CONF") != nullptr;
    EXPECT_EQ(outcome(SecureServer({.maximumVersion = TLS1_2_VERSION})), isStrict ? "not trusted" : "secret");
    if (isStrict) return;
    const auto strict = folder.write("strict.cnf", configuration("TLSv1.3", "DEFAULT:@SECLEVEL=2"));
    EXPECT_EQ(rerun("URLSessionTLS.AsksForMoreWhereTheMachineDoes", {{"OPENSSL_CONF", strict.string()}}), "");
}

TEST(TLSPolicy, RaisesWhatIsTooLowAndLowersNothing) {
    struct Row {
        int version, level, expectedVersion, expectedLevel;
    };
    for (const Row& row :
         {Row{0, 0, TLS1_2_VERSION, 2}, Row{TLS1_VERSION, 1, TLS1_2_VERSION, 2},
          Row{TLS1_2_VERSION, 2, TLS1_2_VERSION, 2}, Row{TLS1_3_VERSION, 3, TLS1_3_VERSION, 3}}) {
        const std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context(SSL_CTX_new(TLS_client_method()),
                                                                        &SSL_CTX_free);
        SSL_CTX_set_min_proto_version(context.get(), row.version);
        SSL_CTX_set_security_level(context.get(), row.level);
        EXPECT_EQ(applyTLSPolicy(nullptr, context.get(), nullptr), CURLE_OK);
        EXPECT_EQ(SSL_CTX_get_min_proto_version(context.get()), row.expectedVersion);
        EXPECT_EQ(SSL_CTX_get_security_level(context.get()), row.expectedLevel);
    }
}

TEST_F(URLSessionTLS, WritesNoKeysForOthers) {
#ifndef NDEBUG
    GTEST_SKIP() << "a debugging build tells its keys to whoever asks for them";
#endif
    const auto keys = folder.path() / "keys";
    EXPECT_EQ(rerun("URLSessionTLS.TrustsAFileOfOnesOwnAndOffersHTTP2", {{"SSLKEYLOGFILE", keys.string()}}),
              "");
    EXPECT_FALSE(std::filesystem::exists(keys));
}

TEST_F(URLSessionTLS, NeverFallsBackToPlainHTTP) {
    const platform::testing::LoopbackServer plain(platform::testing::httpReply(200, "picture"));
    const std::string location = "Location: " + plain.url("/picture.png").absoluteString();
    const SecureServer redirecting(
        {.converse = platform::testing::replying(platform::testing::httpReply(302, "", {location}))});
    EXPECT_EQ(outcome(redirecting), "not trusted");
    const auto trusted = folder.write("trusted.pem", redirecting.certificate());
    const platform::testing::ScopedEnvironment trust({{"SSL_CERT_FILE", trusted.string()}});
    EXPECT_THROW(readWholeResource(redirecting.url(), 1000), URLError);
    EXPECT_EQ(plain.connections(), 0);
}

TEST_F(URLSessionTLS, IsNotTakenForPlainHTTP) {
    const platform::testing::LoopbackServer plain(platform::testing::httpReply(200, "x"));
    const URL url = URL::parse("https://127.0.0.1:" + std::to_string(plain.port()) + "/").value();
    EXPECT_EQ(failure({.url = url, .timeoutInterval = std::chrono::milliseconds(300)}),
              URLErrorCode::timedOut);
}

}  // namespace
}  // namespace platform
