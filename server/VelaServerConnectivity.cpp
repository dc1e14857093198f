// SPDX-License-Identifier: Apache-2.0

#include "server/VelaServerConnectivity.hpp"

#include <string_view>

#include "platform/JSON/JSONSerialization.hpp"
#include "platform/Log/Logger.hpp"
#include "platform/Text/Text.hpp"

namespace server {

namespace {

/// A reply may cost 64 MiB: its bytes and the tree of its JSON, or the tree and the records, or the records
/// twice, which is while packages are made of them.
constexpr std::size_t memoryForTree = std::size_t{34} << 20;
constexpr std::size_t memoryForRecords = std::size_t{28} << 20;

template <typename Operation>
std::string requestBody(const Operation& operation) {
    const boost::json::object body = {
        {"query", operation.queryString()},
        {"variables", VelaApi::variables(operation)},
    };
    return platform::JSONSerialization::dataWithJSONObject(body);
}

/// Character by character: a last letter under an accent is another letter.
bool saysUnauthorized(std::string_view message) {
    constexpr std::string_view word = "Unauthorized";
    constexpr std::size_t longestCodePoint = 4;
    if (!message.starts_with(word)) return false;
    const auto characters = platform::characters(message.substr(0, word.size() + longestCodePoint));
    return characters[word.size() - 1].size() == 1;
}

void throwIfUnauthorized(const boost::json::object& envelope) {
    const auto* errors = envelope.if_contains("errors");
    if (!errors || !errors->is_array()) return;
    const auto& list = errors->get_array();
    for (const auto& error : list)
        if (!error.is_object()) return;
    for (const auto& error : list) {
        const auto* message = error.get_object().if_contains("message");
        const auto* text = message ? message->if_string() : nullptr;
        if (text && saysUnauthorized({text->data(), text->size()})) throw UnauthorizedError();
    }
}

/// The "data" object of a reply. Its tree stands in `memory`; of the reply nothing is left.
boost::json::object usableData(platform::URLReply reply, platform::BoundedMemory& memory) {
    const auto unusable = [] { return AnyError(std::make_exception_ptr(GraphQLError())); };
    if (!reply.response.statusCode) throw unusable();
    if (*reply.response.statusCode == 401) throw UnauthorizedError();
    auto body = platform::JSONSerialization::JSONObjectWithData(reply.data, &memory);
    auto* envelope = body.if_object();
    if (!envelope) throw unusable();
    throwIfUnauthorized(*envelope);
    auto* data = envelope->if_contains("data");
    if (!data || !data->is_object()) throw unusable();
    return std::move(data->get_object());
}

template <typename Operation>
VelaApi::ResponseOf<Operation> decodedResponse(platform::URLReply reply) {
    platform::BoundedMemory forTree(memoryForTree);
    platform::BoundedMemory forRecords(memoryForRecords);
    auto data = usableData(std::move(reply), forTree);
    return VelaApi::responseFrom<VelaApi::ResponseOf<Operation>>(std::move(data), &forRecords);
}

}  // namespace

VelaServerConnectivity::VelaServerConnectivity()
    : VelaServerConnectivity(SharedDefaults::shared(), CredentialKeychains::shared(), [] {
          return platform::URLSession::session(
              platform::URLSessionConfiguration::defaultSessionConfiguration());
      }) {}

VelaServerConnectivity::VelaServerConnectivity(const SharedDefaults& defaults, CredentialKeychains keychains,
                                               SessionFactory makeSession)
    : defaults_(defaults), keychains_(std::move(keychains)), makeSession_(std::move(makeSession)) {}

platform::URLSession& VelaServerConnectivity::session() {
    if (!session_) session_ = makeSession_();
    return *session_;
}

platform::URLRequest VelaServerConnectivity::makeRequest(Authentication authentication) const {
    const auto url = platform::URL::parse(defaults_.serverURL() + "/graphql");
    if (!url) platform::fatalError("The account server's base URL is not a URL.");
    platform::URLRequest request = {.url = *url};
    request.httpMethod = "POST";
    // The lower-case initial is what this server has always been sent; the event collector is sent another.
    request.setValue("application/json", "Content-type");
    request.setValue("application/json", "Accept");
    if (authentication == Authentication::notAuthenticated) return request;
    if (const auto token = keychains_.tokens.accessToken()) {
        request.setCredential("Bearer " + *token, "authorization");
    } else if (const auto session = keychains_.session.stringValue(CredentialKey::session)) {
        request.setCredential(*session, "pontal-server-session-id");
    }
    return request;
}

boost::asio::awaitable<VelaApi::TrackingWidgetResponse> VelaServerConnectivity::perform(
    VelaApi::TrackingWidgetQuery query) {
    auto request = makeRequest(Authentication::authenticated);
    request.httpBody = requestBody(query);
    auto reply = co_await session().data(std::move(request));
    co_return decodedResponse<VelaApi::TrackingWidgetQuery>(std::move(reply));
}

boost::asio::awaitable<VelaApi::RefreshAccessTokenResponse> VelaServerConnectivity::perform(
    VelaApi::RefreshAccessTokenMutation mutation) {
    auto request = makeRequest(Authentication::notAuthenticated);
    request.timeoutIntervalForResource = longestRenewal;
    request.httpBody = requestBody(mutation);
    auto reply = co_await session().data(std::move(request));
    co_return decodedResponse<VelaApi::RefreshAccessTokenMutation>(std::move(reply));
}

}  // namespace server
