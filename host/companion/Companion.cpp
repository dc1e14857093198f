// SPDX-License-Identifier: Apache-2.0

#include "host/companion/Companion.hpp"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <memory>
#include <utility>

#include "host/protocol/Forgetting.hpp"
#include "platform/Bundle/Bundle.hpp"
#include "platform/Files/Patience.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/Security/PersonalKeychain.hpp"
#include "platform/Security/SecItem.hpp"
#include "platform/Text/Text.hpp"
#include "platform/URL/URL.hpp"
#include "platform/UserDefaults/UserDefaults.hpp"
#include "server/SharedDefaults.hpp"
#include "server/TokenKeychain.hpp"

namespace host {

using server::Keychain;
using server::SharedDefaultsKey;

namespace {

constexpr const char* accessTokenKey = server::CredentialKey::accessToken;
constexpr const char* refreshTokenKey = server::CredentialKey::refreshToken;
constexpr const char* sessionKey = server::CredentialKey::session;

Keychain currentKeychain() {
    return server::tokenKeychain().withExclusiveAccess([](const Keychain& keychain) { return keychain; });
}

/// The widget takes a suite that it cannot read for an empty one; here the person must know.
std::unique_ptr<platform::UserDefaults> sharedDefaults() {
    try {
        auto suite = platform::UserDefaults::suite(server::suiteName());
        suite->requireReadable();
        return suite;
    } catch (const platform::UserDefaultsError& error) {
        throw CompanionError(error.what());
    }
}

std::string serverURL(std::unique_ptr<platform::UserDefaults> suite) {
    return server::SharedDefaults(std::move(suite), server::baseURL(platform::processEnvironment()))
        .serverURL();
}

/// Of a keychain that says no more than its error.
std::string_view remedy(const Keychain::KeychainError& error) {
    using Error = Keychain::KeychainError;
    if (error.value() == Error::interactionNotAllowed)
        return "it is locked, or kept busy: unlock it, or end the program that keeps it";
    if (error.value() == Error::notAvailable)
        return "the desktop's keyring does not answer: start it, anew where it hangs, or leave VELA_KEYCHAIN "
               "unset to keep the sign-in in a file";
    return "";
}

[[noreturn]] void failWith(std::string what, const Keychain::KeychainError& error) {
    what.append(": ").append(error.name());
    const std::string& fault = platform::SecItemFault();
    const auto more = fault.empty() ? remedy(error) : std::string_view(fault);
    if (!more.empty()) what.append("; ").append(more);
    throw CompanionError(what);
}

/// What a look for an item comes to, which is not read; nothing where it is stored.
std::optional<Keychain::KeychainError> errorOfLook(const Keychain& keychain, const char* key) {
    const platform::SecAttributes query = {
        {platform::kSecClass, std::string(platform::kSecClassGenericPassword)},
        {platform::kSecAttrService,
         keychain.id + "_" + std::string(Keychain::rawValue(keychain.accessibility))},
        {platform::kSecAttrAccount, std::string(key)},
    };
    return Keychain::KeychainError::ofStatus(platform::SecItemCopyMatching(query, nullptr));
}

/// Throws for a keychain that cannot tell.
bool isStored(const Keychain& keychain, const char* key) {
    const auto error = errorOfLook(keychain, key);
    if (!error) return true;
    if (error->value() == Keychain::KeychainError::itemNotFound) return false;
    failWith("the keychain cannot be read", *error);
}

constexpr platform::Patience patienceWithRenewals = {.inAll = std::chrono::seconds(70),
                                                     .pause = std::chrono::milliseconds(20)};
constexpr std::chrono::milliseconds waitWorthAWord(500);

void throwUnlessSuccess(const char* what, platform::OSStatus status) {
    if (const auto error = Keychain::KeychainError::ofStatus(status)) failWith(what, *error);
}

/// A renewal that is on its way would put its pair in the place of what is changed here, or a second
/// companion its own. It is over when its server has answered, or has had a minute for it.
std::unique_ptr<platform::SecItemLock> holdingOffRenewals(const Notice& notice) {
    auto lock = platform::SecItemMakeLock(platform::SecItemHold::exclusive);
    const auto start = std::chrono::steady_clock::now();
    bool isNoticeDue = true;
    auto status = platform::errSecSuccess;
    const bool isDecided = patienceWithRenewals.suffices([&] {
        status = lock->tryAcquire();
        if (status != platform::errSecInteractionNotAllowed) return true;
        if (std::chrono::steady_clock::now() - start >= waitWorthAWord && std::exchange(isNoticeDue, false))
            notice("waiting until the tokens that are being renewed or replaced are stored");
        return false;
    });
    if (!isDecided)
        throw CompanionError(
            "the tokens are still being renewed or replaced after 70 s; nothing was changed, try again. If "
            "that lasts, "
            "end the VelaWidgetExtension or vela-companion that hangs");
    throwUnlessSuccess("the keychain cannot be held", status);
    return lock;
}

/// The keychain layer reports a failed write as a line only; here the person must know.
void storeToken(const Keychain& keychain, const std::string& token, const char* key) {
    const platform::Data data = {token};
    keychain.setData(data, key);
    if (keychain.dataForKey(key) == data) return;
    const std::string what = "the keychain did not take the tokens";
    if (!platform::SecItemFault().empty()) throw CompanionError(what + ": " + platform::SecItemFault());
    // It may say now why not.
    const auto error = errorOfLook(keychain, key);
    if (error && error->value() != Keychain::KeychainError::itemNotFound) failWith(what, *error);
    throw CompanionError(what);
}

void emptyKeychain(const Keychain& keychain) {
    try {
        keychain.deleteAll();
    } catch (const Keychain::KeychainError& error) {
        failWith("the keychain cannot be emptied", error);
    }
}

template <typename Change>
void changeDefaults(Change change) {
    try {
        change(*sharedDefaults());
    } catch (const platform::UserDefaultsError& error) {
        throw CompanionError(error.what());
    }
}

void requireCarriable(const std::string& token, const char* key) {
    const bool isForAHeader = std::none_of(token.begin(), token.end(), [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return byte < 0x20 || byte == 0x7F;
    });
    if (!isForAHeader)
        throw CompanionError(
            std::string("the input's \"") + key +
            "\" holds a control character (a line feed, perhaps), which no request can carry");
}

std::string requiredToken(const boost::json::object& object, const char* key) {
    const auto* value = object.if_contains(key);
    if (!value || !value->is_string() || value->get_string().empty())
        throw CompanionError(std::string("the input must hold a text \"") + key + "\"");
    std::string token(value->get_string());
    requireCarriable(token, key);
    return token;
}

/// Why an action of several failed, of which each is to be tried; empty where it did not.
template <typename Action>
std::string faultOf(Action action) {
    try {
        action();
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

/// Why what a live host that is dead or silent has left of the person before is still there; empty where it
/// is not.
std::string faultOfForgetting(const Notice& notice) {
    const auto fault = faultOf([&] { forgetInPlaceOfHost(notice); });
    return fault.empty() ? "" : "what a live host left is still there: " + fault;
}

std::string line(std::string_view name, std::string_view value) {
    return std::string(name).append(": ").append(value).append("\n");
}

std::string storedLine(std::string_view name, bool isStored) {
    return line(name, isStored ? "stored" : "none");
}

bool hasSignIn() {
    return isStored(currentKeychain(), accessTokenKey) ||
           isStored(server::legacyTokenKeychain(), accessTokenKey) || isStored(currentKeychain(), sessionKey);
}

std::string keychainLines() {
    const auto current = currentKeychain();
    const auto legacy = server::legacyTokenKeychain();
    const bool hasAccess = isStored(current, accessTokenKey);
    const bool hasRefresh = isStored(current, refreshTokenKey);
    const bool hasLegacyAccess = isStored(legacy, accessTokenKey);
    const bool hasLegacyRefresh = isStored(legacy, refreshTokenKey);
    return line("signed in", hasSignIn() ? "yes" : "no") + storedLine("access token", hasAccess) +
           storedLine("refresh token", hasRefresh) + storedLine("legacy access token", hasLegacyAccess) +
           storedLine("legacy refresh token", hasLegacyRefresh) +
           storedLine("session", isStored(current, sessionKey));
}

std::string defaultsLines() {
    auto suite = sharedDefaults();
    const auto userId = suite->stringForKey(SharedDefaultsKey::userId);
    return line("user id", userId.value_or("none")) +
           line("account server", platform::addressForDisplay(serverURL(std::move(suite))));
}

}  // namespace

Credentials Credentials::fromJSON(std::string_view text) {
    boost::json::value value;
    try {
        value = platform::JSONSerialization::JSONObjectWithData(text);
    } catch (const platform::JSONError&) {
        throw CompanionError("the input is not JSON");
    }
    if (!value.is_object()) throw CompanionError("the input must be a JSON object");
    const auto& object = value.get_object();
    Credentials credentials = {.accessToken = requiredToken(object, accessTokenKey),
                               .refreshToken = requiredToken(object, refreshTokenKey)};
    if (object.size() != 2) throw CompanionError("the input must hold the two tokens and nothing else");
    return credentials;
}

Credentials Credentials::fromTokens(std::string accessToken, std::string refreshToken) {
    for (const auto& [token, key] :
         {std::pair(&accessToken, accessTokenKey), std::pair(&refreshToken, refreshTokenKey)}) {
        if (token->empty() || !platform::isValidUTF8(*token))
            throw CompanionError(std::string("the input's \"") + key + "\" is no text");
        requireCarriable(*token, key);
    }
    if (accessToken == refreshToken)
        throw CompanionError("both tokens are the same text; a pair has two different ones");
    return {.accessToken = std::move(accessToken), .refreshToken = std::move(refreshToken)};
}

void signIn(const Credentials& credentials, TokenLocation location, const std::optional<std::string>& userId,
            const Notice& notice) {
    const auto lock = holdingOffRenewals(notice);
    const auto transaction = platform::SecItemBeginTransaction();
    const auto current = currentKeychain();
    const auto legacy = server::legacyTokenKeychain();
    const auto& target = location == TokenLocation::current ? current : legacy;
    const auto& other = location == TokenLocation::current ? legacy : current;
    storeToken(target, credentials.accessToken, accessTokenKey);
    storeToken(target, credentials.refreshToken, refreshTokenKey);
    emptyKeychain(other);
    target.setData(std::nullopt, sessionKey);

    // Two files cannot change at once. Between them there is no user id: never a pair with another person's.
    // The files with the id and without it lie ready before: a full disk is noticed while nothing is changed.
    std::unique_ptr<platform::UserDefaultsReplacement> id;
    changeDefaults([&](platform::UserDefaults& defaults) {
        id = defaults.prepareReplacement(SharedDefaultsKey::userId,
                                         userId ? std::optional(boost::json::value(*userId)) : std::nullopt);
        id->withdraw();
    });
    throwUnlessSuccess("the keychain did not take the tokens", transaction->commit());
    const auto faultOfId = faultOf([&] { id->commit(); });
    const auto fault = faultOfForgetting(notice);
    if (!faultOfId.empty()) throw CompanionError("signed in, but without the user id: " + faultOfId);
    if (!fault.empty()) throw CompanionError("signed in, but " + fault);
}

void signOut(const Notice& notice) {
    const auto lock = holdingOffRenewals(notice);
    const auto transaction = platform::SecItemBeginTransaction();
    emptyKeychain(currentKeychain());
    emptyKeychain(server::legacyTokenKeychain());
    throwUnlessSuccess("the keychain cannot be emptied", transaction->commit());
    const auto faultOfId = faultOf([] { deleteDefaults(SharedDefaultsKey::userId); });
    const auto fault = faultOfForgetting(notice);
    if (!faultOfId.empty()) throw CompanionError("signed out, but the user id is still stored: " + faultOfId);
    if (!fault.empty()) throw CompanionError("signed out, but " + fault);
}

std::string keychainPlace() {
    const auto kind = platform::personalKeychainKind();
    if (!kind) throw CompanionError("VELA_KEYCHAIN names no keychain: it may be embedded or secret-service");
    if (*kind == platform::KeychainKind::secretService) return "the desktop's keyring";
    const auto file = platform::personalKeychainFile();
    return file ? file->string() : "a file that cannot be had: there is no home folder";
}

SignInStatus signInStatus() {
    SignInStatus status;
    for (const auto& lines : {keychainLines, defaultsLines}) {
        try {
            status.lines += lines();
        } catch (const CompanionError& error) {
            status.faults.emplace_back(error.what());
        }
    }
    status.lines += line("keychain", platform::environmentVariable("VELA_KEYCHAIN").value_or("embedded"));
    if (platform::personalKeychainKind()) status.lines += line("kept in", keychainPlace());
    return status;
}

std::optional<std::string> defaultsText(std::string_view key) {
    const auto value = sharedDefaults()->objectForKey(key);
    if (!value) return std::nullopt;
    if (value->is_string()) return std::string(value->get_string());
    return platform::JSONSerialization::dataWithJSONObject(*value, platform::JSONKeyOrder::ascendingBytes);
}

void writeDefaults(std::string_view key, const boost::json::value& value) {
    changeDefaults([&](platform::UserDefaults& defaults) { defaults.setObject(key, value); });
}

void deleteDefaults(std::string_view key) {
    changeDefaults([&](platform::UserDefaults& defaults) { defaults.removeObject(key); });
}

std::optional<boost::json::value> integerValue(std::string_view text) {
    std::int64_t value = 0;
    const auto digits = text.starts_with('+') ? text.substr(1) : text;
    const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (parsed.ec != std::errc() || parsed.ptr != digits.data() + digits.size()) return std::nullopt;
    return value;
}

AccountSite accountSite() {
    auto suite = sharedDefaults();
    AccountSite site;
    const auto& info = platform::Bundle::main().infoDictionary();
    const auto* ofDeployment = info ? info->if_contains(SharedDefaultsKey::accountSite) : nullptr;
    if (const auto ofPerson = suite->stringForKey(SharedDefaultsKey::accountSite))
        site.address = *ofPerson;
    else if (ofDeployment && ofDeployment->is_string())
        site.address = std::string(ofDeployment->get_string());
    else
        site.address = serverURL(std::move(suite));
    while (site.address.ends_with('/')) site.address.pop_back();
    const auto url = platform::URL::parse(site.address);
    // RFC 2606, section 2.
    site.isConfigured = url && !url->host().ends_with(".example") && !url->host().ends_with(".invalid");
    return site;
}

std::optional<bool> isSignedIn() {
    try {
        return hasSignIn();
    } catch (const CompanionError&) {
        return std::nullopt;
    }
}

}  // namespace host
