// SPDX-License-Identifier: Apache-2.0

#include "sandbox/AccountServer.hpp"

#include <openssl/rand.h>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <chrono>
#include <limits>
#include <optional>

#include "sandbox/Operations.hpp"

namespace sandbox {
namespace {

using boost::json::array;
using boost::json::object;
using boost::json::value;

Response jsonResponse(int status, const value& body) {
    return {.status = status, .body = boost::json::serialize(body)};
}

value errorList(std::string_view message) {
    return object{{"errors", array{object{{"message", message}}}}};
}

AccountReply turnedAway(int status, std::string reason, std::string_view operation = {}) {
    Response response = jsonResponse(status, errorList(reason));
    return {.response = std::move(response), .operation = operation, .outcome = std::move(reason)};
}

/// A text that no one can guess: 128 random bits.
std::string freshToken(std::string_view kind) {
    unsigned char bytes[16];
    RAND_bytes(bytes, sizeof bytes);
    std::string token = "sandbox-" + std::string(kind) + "-";
    for (const unsigned char byte : bytes) {
        token += "0123456789abcdef"[byte >> 4];
        token += "0123456789abcdef"[byte & 15];
    }
    return token;
}

const Operation* operationWithText(std::string_view text) {
    for (const Operation& operation : operations) {
        if (operation.text == text) return &operation;
    }
    return nullptr;
}

/// Names the operation that a text means to be, and where the two part.
std::string whyUnknown(std::string_view text) {
    for (const Operation& operation : operations) {
        const std::string_view opening = operation.text.substr(0, operation.text.find('('));
        if (text.substr(0, opening.size()) != opening) continue;
        std::size_t common = 0;
        while (common < text.size() && common < operation.text.size() &&
               text[common] == operation.text[common]) {
            ++common;
        }
        return "The text of " + std::string(operation.name) + " is not the known one from character " +
               std::to_string(common) + " on";
    }
    return "Unknown operation";
}

bool isJSON(std::string_view contentType) {
    return equalsWithoutCase(contentType.substr(0, contentType.find(';')), "application/json");
}

object userError(std::string_view message) {
    return {{"__typename", "UserError"}, {"message", message}};
}

value refreshed(value authPayload, array userErrors) {
    return object{{"data", object{{"__typename", "Mutation"},
                                  {"accessTokenRefresh", object{{"__typename", "AccessTokenRefreshPayload"},
                                                                {"authPayload", std::move(authPayload)},
                                                                {"userErrors", std::move(userErrors)}}}}}};
}

}  // namespace

TokenPair sampleCredentials() {
    return {.accessToken = "sandbox-access", .refreshToken = "sandbox-refresh"};
}

std::string_view sampleSession() {
    return "sandbox-session";
}

AccountServer::AccountServer(Scenario scenario, std::string baseURL, Refusal refusal)
    : scenario_(std::move(scenario)),
      baseURL_(std::move(baseURL)),
      refusal_(refusal),
      accessToken_(scenario_.accessToken) {}

AccountReply AccountServer::answer(const Request& request) {
    if (request.method != "POST") return turnedAway(405, "The method is not POST");
    if (!isJSON(request.value("Content-Type").value_or(""))) {
        return turnedAway(415, "The content type is not application/json");
    }
    boost::system::error_code error;
    const value body = boost::json::parse(request.body, error);
    if (error || !body.is_object()) return turnedAway(400, "The body is not a JSON object");
    const object& members = body.get_object();
    const value* query = members.if_contains("query");
    const value* variables = members.if_contains("variables");
    if (members.size() != 2 || query == nullptr || !query->is_string() || variables == nullptr ||
        !variables->is_object()) {
        return turnedAway(400, "The body does not hold exactly \"query\" and \"variables\"");
    }
    const std::string_view text(query->get_string());
    const Operation* operation = operationWithText(text);
    if (operation == nullptr) return turnedAway(400, whyUnknown(text));

    const value* variable = variables->get_object().if_contains(operation->variable);
    if (variables->get_object().size() != 1 || variable == nullptr) {
        return turnedAway(400, "The only variable is not \"" + std::string(operation->variable) + "\"",
                          operation->name);
    }
    AccountReply reply;
    switch (operation->kind) {
        case OperationKind::trackingWidget:
            if (!variable->is_int64() || variable->get_int64() < 1 ||
                variable->get_int64() > std::numeric_limits<int>::max()) {
                return turnedAway(400, "$maxImageSize is not a positive Int", operation->name);
            }
            reply = trackingWidget(request, static_cast<int>(variable->get_int64()));
            break;
        case OperationKind::refreshAccessToken:
            if (!variable->is_string())
                return turnedAway(400, "$refreshToken is not a String", operation->name);
            reply = refreshAccessToken(variable->get_string());
            break;
    }
    reply.operation = operation->name;
    return reply;
}

bool AccountServer::authorizes(const Request& request) const {
    if (accessToken_ == TokenStanding::refused) return false;
    if (const auto bearer = request.value("authorization")) return *bearer == "Bearer " + tokens_.accessToken;
    return request.value("pontal-server-session-id") == sampleSession();
}

AccountReply AccountServer::unauthorized() const {
    constexpr std::string_view message = "Unauthorized: the credential is missing, wrong or expired";
    AccountReply reply = turnedAway(401, std::string(message));
    if (refusal_ == Refusal::graphQLError) reply.response.status = 200;
    reply.outcome = "unauthorized";
    return reply;
}

AccountReply AccountServer::trackingWidget(const Request& request, int maximumImageSize) {
    if (!authorizes(request)) return unauthorized();
    const ScenarioContext context{.now = wallTime(std::chrono::system_clock::now()),
                                  .baseURL = baseURL_,
                                  .maximumImageSize = maximumImageSize};
    if (scenario_.reply) {
        return {.response = jsonResponse(200, resolved(*scenario_.reply, context)), .outcome = "answered"};
    }
    const object list{{"__typename", "DeliveriesOrdersListConnection"},
                      {"nodes", scenario_.page(answered_++, context)}};
    const object data{{"__typename", "Query"}, {"deliveriesOrdersList", list}};
    return {.response = jsonResponse(200, object{{"data", data}}), .outcome = "answered"};
}

AccountReply AccountServer::refreshAccessToken(std::string_view refreshToken) {
    if (scenario_.refreshToken == TokenStanding::refused || refreshToken != tokens_.refreshToken) {
        const array errors{userError("invalid_refresh_token")};
        return {.response = jsonResponse(200, refreshed(nullptr, errors)),
                .outcome = "invalid_refresh_token"};
    }
    tokens_ = {.accessToken = freshToken("access"), .refreshToken = freshToken("refresh")};
    accessToken_ = TokenStanding::valid;
    const object payload{
        {"__typename", "Auth"}, {"accessToken", tokens_.accessToken}, {"refreshToken", tokens_.refreshToken}};
    return {.response = jsonResponse(200, refreshed(payload, {})), .outcome = "refreshed"};
}

}  // namespace sandbox
