// SPDX-License-Identifier: Apache-2.0

#pragma once

// The companion app's part of the bargain: writes the shared keychain and the shared defaults that the widget
// reads. Errors are CompanionError; none of them holds a token.

#include <boost/json/value.hpp>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace host {

class CompanionError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Where sign-in puts the tokens: where the widget looks first, or where older versions left them.
enum class TokenLocation { current, legacy };

struct Credentials {
    std::string accessToken;
    std::string refreshToken;

    /// From {"accessToken", "refreshToken"}; members that are neither are refused.
    static Credentials fromJSON(std::string_view text);
    /// From the two, each by itself.
    static Credentials fromTokens(std::string accessToken, std::string refreshToken);
};

/// Takes words for the person while she waits.
using Notice = std::function<void(std::string_view)>;

/// Stores the pair and the user id (absent: forgets an earlier one), in place of an earlier sign-in: wholly
/// or not at all. Waits for renewals and other companions that are at it, 70 seconds at most. A kill at any
/// instant leaves the old pair or the new one, and the user id that belongs to it or none.
void signIn(const Credentials& credentials, TokenLocation location, const std::optional<std::string>& userId,
            const Notice& notice);

/// Removes tokens and session from both locations at once, then the user id; where that cannot be removed,
/// CompanionError says so and the tokens are gone all the same. Waits as `signIn` does.
void signOut(const Notice& notice);

/// Where a sign-in is kept, for a person: the keychain's file, or the keyring's name. Throws for a keychain
/// that is none.
std::string keychainPlace();

/// What is stored, as lines for a person. Never a token, nor the user information of a URL.
struct SignInStatus {
    std::string lines;
    /// Why the keychain's or the defaults' lines are missing.
    std::vector<std::string> faults;
};
SignInStatus signInStatus();

/// The value under `key` as text; nothing when there is none.
std::optional<std::string> defaultsText(std::string_view key);
void writeDefaults(std::string_view key, const boost::json::value& value);
void deleteDefaults(std::string_view key);
/// `text` as a 64-bit integer; nothing for any other text.
std::optional<boost::json::value> integerValue(std::string_view text);

/// Where the person's orders are on the web.
struct AccountSite {
    /// Without a slash at its end.
    std::string address;
    /// Somebody runs it: it does not lie under a domain that is reserved for examples.
    bool isConfigured = false;
};
/// The shared default "ACCOUNT_SITE_URL", else the Info dictionary's, else the account server itself.
AccountSite accountSite();

/// Whether a sign-in is stored; nothing where the keychain does not tell.
std::optional<bool> isSignedIn();

}  // namespace host
