// SPDX-License-Identifier: Apache-2.0

#include "platform/URLSession/TLSPolicy.hpp"

#include <openssl/ssl.h>
#include <openssl/x509v3.h>

#include <algorithm>

namespace platform {
namespace {

constexpr int leastVersion = TLS1_2_VERSION;
constexpr int leastSecurityLevel = 2;

bool namesAHost(X509* certificate) {
    auto* names =
        static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr));
    bool found = false;
    for (int index = 0; index < sk_GENERAL_NAME_num(names); ++index) {
        const int kind = sk_GENERAL_NAME_value(names, index)->type;
        found = found || kind == GEN_DNS || kind == GEN_IPADD;
    }
    GENERAL_NAMES_free(names);
    return found;
}

int verify(int isVerified, X509_STORE_CTX* store) {
    const bool isServers = X509_STORE_CTX_get_error_depth(store) == 0;
    if (isVerified == 0 || !isServers) return isVerified;
    if (namesAHost(X509_STORE_CTX_get_current_cert(store))) return 1;
    X509_STORE_CTX_set_error(store, X509_V_ERR_HOSTNAME_MISMATCH);
    return 0;
}

}  // namespace

CURLcode applyTLSPolicy(CURL*, void* context, void*) {
    auto* const policy = static_cast<SSL_CTX*>(context);
    // Zero, for "the lowest there is", is below every version.
    if (SSL_CTX_get_min_proto_version(policy) < leastVersion &&
        SSL_CTX_set_min_proto_version(policy, leastVersion) != 1) {
        return CURLE_SSL_CONNECT_ERROR;
    }
    SSL_CTX_set_security_level(policy, std::max(SSL_CTX_get_security_level(policy), leastSecurityLevel));
    SSL_CTX_set_verify(policy, SSL_VERIFY_PEER, &verify);
    return CURLE_OK;
}

std::string_view certificateFault(CURL* handle) {
    long result = X509_V_ERR_INVALID_CALL;
    curl_easy_getinfo(handle, CURLINFO_SSL_VERIFYRESULT, &result);
    switch (result) {
        case X509_V_ERR_CERT_NOT_YET_VALID: return "the certificate is not valid yet";
        case X509_V_ERR_CERT_HAS_EXPIRED: return "the certificate has expired";
        // Which host it is of, libcurl looks at itself, before it asks for the result.
        case X509_V_OK:
        case X509_V_ERR_UNSPECIFIED:
        case X509_V_ERR_HOSTNAME_MISMATCH: return "the certificate is another host's";
        case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
        case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
        case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
        case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
        case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
            return "nobody vouches for the certificate whom this machine trusts";
        default: return "";
    }
}

}  // namespace platform
