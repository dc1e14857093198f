// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/OutcomeCoding.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "host/protocol/Members.hpp"
#include "host/protocol/MessageChannel.hpp"

namespace host {

namespace json = boost::json;
using widget::CredentialReport;
using widget::CredentialState;
using widget::FetchOutcome;
using widget::ServerContact;

namespace {

// In order of declaration.
constexpr std::array<std::string_view, 5> stateNames = {"none", "stored", "locked", "unreadable", "expired"};
constexpr std::array<std::string_view, 4> contactNames = {"answered", "refused", "failed", "unreachable"};
static_assert(stateNames.size() == server::allCredentialStates.size());
static_assert(contactNames.size() == server::allServerContacts.size());

template <typename Case, typename Names>
Case caseNamed(const json::object& object, std::string_view key, const Names& names) {
    const auto name = memberText(object, key, "");
    for (std::size_t index = 0; index < names.size(); ++index)
        if (names[index] == name) return static_cast<Case>(index);
    throw ProtocolError("unknown " + std::string(key));
}

const json::object& objectIn(const json::value& value, const char* what) {
    if (!value.is_object()) throw ProtocolError(std::string(what) + " must be an object");
    return value.get_object();
}

std::optional<std::uint64_t> numberIn(const json::object& object, std::string_view key) {
    const auto* value = object.if_contains(key);
    if (!value || value->is_null()) return std::nullopt;
    boost::system::error_code error;
    const auto number = value->to_number<std::uint64_t>(error);
    if (error) throw ProtocolError(std::string(key) + " must be a whole number");
    return number;
}

}  // namespace

json::object credentialsObject(const CredentialReport& report) {
    return {{"account", report.account ? json::value(*report.account) : json::value(nullptr)},
            {"state", stateNames[static_cast<std::size_t>(report.state)]},
            {"tokens", report.tokens}};
}

json::object outcomeObject(const FetchOutcome& outcome) {
    return {{"credentials", credentialsObject(outcome.credentials)},
            {"renewed", outcome.hasRenewed},
            {"server", contactNames[static_cast<std::size_t>(outcome.server)]}};
}

CredentialReport credentialsFromValue(const json::value& value) {
    const auto& object = objectIn(value, "credentials");
    return {.state = caseNamed<CredentialState>(object, "state", stateNames),
            .tokens = numberIn(object, "tokens").value_or(0),
            .account = numberIn(object, "account")};
}

FetchOutcome outcomeFromValue(const json::value& value) {
    const auto& object = objectIn(value, "outcome");
    const auto* credentials = object.if_contains("credentials");
    const auto* renewed = object.if_contains("renewed");
    return {.credentials = credentialsFromValue(credentials ? *credentials : json::value(nullptr)),
            .server = caseNamed<ServerContact>(object, "server", contactNames),
            .hasRenewed = renewed && renewed->is_bool() && renewed->get_bool()};
}

}  // namespace host
