// SPDX-License-Identifier: Apache-2.0

#include "sandbox/Certificates.hpp"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

#include <cstdint>
#include <cstdio>
#include <memory>

#include "sandbox/Error.hpp"

namespace sandbox {
namespace {

struct Release {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
    void operator()(BIO* memory) const { BIO_free(memory); }
};
using Key = std::unique_ptr<EVP_PKEY, Release>;
using Certificate = std::unique_ptr<X509, Release>;
using Memory = std::unique_ptr<BIO, Release>;

void require(bool condition) {
    if (!condition) throw Error("the certificate cannot be made");
}

struct Extension {
    int kind;
    const char* text;
};

constexpr long aWeek = 7L * 24 * 3600;

/// Signed by `issuer`, or by itself where there is none.
Certificate signedCertificate(const char* name, EVP_PKEY* key, X509* issuer, EVP_PKEY* issuerKey,
                              std::initializer_list<Extension> extensions) {
    Certificate certificate(X509_new());
    X509* const subject = certificate.get();
    std::int64_t serial = 0;
    require(RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1);
    require(X509_set_version(subject, 2) == 1);
    ASN1_INTEGER_set_int64(X509_get_serialNumber(subject), serial & INT64_MAX);
    X509_gmtime_adj(X509_getm_notBefore(subject), -3600);
    X509_gmtime_adj(X509_getm_notAfter(subject), aWeek);
    require(X509_set_pubkey(subject, key) == 1);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(subject), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(name), -1, -1, 0);
    X509* const signer = issuer == nullptr ? subject : issuer;
    require(X509_set_issuer_name(subject, X509_get_subject_name(signer)) == 1);
    X509V3_CTX context = {};
    X509V3_set_ctx(&context, signer, subject, nullptr, nullptr, 0);
    for (const Extension& extension : extensions) {
        const std::unique_ptr<X509_EXTENSION, Release> made(
            X509V3_EXT_conf_nid(nullptr, &context, extension.kind, extension.text));
        require(made != nullptr && X509_add_ext(subject, made.get(), -1) == 1);
    }
    require(X509_sign(subject, issuerKey, EVP_sha256()) > 0);
    return certificate;
}

std::string contents(BIO* memory) {
    char* data = nullptr;
    const long length = BIO_get_mem_data(memory, &data);
    return {data, static_cast<std::size_t>(length)};
}

std::string pem(X509* certificate) {
    const Memory memory(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_X509(memory.get(), certificate) == 1);
    return contents(memory.get());
}

std::string pem(EVP_PKEY* key) {
    const Memory memory(BIO_new(BIO_s_mem()));
    require(PEM_write_bio_PrivateKey(memory.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1);
    return contents(memory.get());
}

}  // namespace

Certificates madeCertificates() {
    const Key authorityKey(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
    const Key serverKey(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
    require(authorityKey != nullptr && serverKey != nullptr);
    const Certificate authority =
        signedCertificate("Vela sandbox authority", authorityKey.get(), nullptr, authorityKey.get(),
                          {{NID_basic_constraints, "critical,CA:TRUE"},
                           {NID_key_usage, "critical,keyCertSign,cRLSign"},
                           {NID_subject_key_identifier, "hash"}});
    const Certificate server =
        signedCertificate("localhost", serverKey.get(), authority.get(), authorityKey.get(),
                          {{NID_basic_constraints, "critical,CA:FALSE"},
                           {NID_key_usage, "critical,digitalSignature"},
                           {NID_ext_key_usage, "serverAuth"},
                           {NID_subject_alt_name, "DNS:localhost,IP:127.0.0.1,IP:::1"}});
    char hashedName[16];
    std::snprintf(hashedName, sizeof hashedName, "%08lx.0", X509_subject_name_hash(authority.get()));
    return {.authority = pem(authority.get()),
            .server = pem(server.get()),
            .serverKey = pem(serverKey.get()),
            .hashedName = hashedName};
}

}  // namespace sandbox
