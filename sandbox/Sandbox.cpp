// SPDX-License-Identifier: Apache-2.0

#include "sandbox/Sandbox.hpp"

#include <boost/json/serialize.hpp>

#include "sandbox/EventLog.hpp"
#include "sandbox/EventRefusal.hpp"
#include "sandbox/HostField.hpp"
#include "sandbox/PictureGallery.hpp"
#include "sandbox/Scenario.hpp"

namespace sandbox {
namespace {

constexpr std::string_view welcome =
    "This is Vela's sandbox: a local account server and event collector for sample people.\n"
    "\n"
    "POST /graphql         the account server\n"
    "POST /v1/produce      the event collector\n"
    "GET  /events          what came in, as JSON\n"
    "GET  /pictures/NAME   pictures, bounded by maxWidth and maxHeight\n";

Response textResponse(int status, std::string_view text) {
    return {.status = status, .contentType = "text/plain; charset=utf-8", .body = std::string(text)};
}

constexpr std::string_view misdirected =
    "This sandbox answers to 127.0.0.1, localhost and [::1] with its own port alone.\n";

std::string portOf(const std::string& url) {
    return url.substr(url.rfind(':') + 1);
}

bool startsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

}  // namespace

/// What stands behind the two ports.
class Sandbox::Services {
  public:
    explicit Services(const SandboxOptions& options)
        : scenario_(Scenario::load(options.scenario, options.dataFolder)),
          gallery_(options.dataFolder / "pictures.json"),
          faults_(options.faults),
          refusal_(options.refusal) {}

    /// Once the ports are known.
    void open(const std::string& baseURL, std::string otherOrigin) {
        account_.emplace(std::move(scenario_), baseURL, refusal_);
        port_ = portOf(baseURL);
        otherPort_ = portOf(otherOrigin);
        otherOrigin_ = std::move(otherOrigin);
    }

    Served serve(const Request& request) {
        if (!isAddressedToLoopback(request, request.origin == Origin::first ? port_ : otherPort_)) {
            log_.noteRequest(request, {}, "misdirected");
            return {.response = textResponse(421, misdirected)};
        }
        if (!takesFault(request)) return {.response = answer(request)};
        std::optional<Response> response = redirected(request, faults_, otherOrigin_);
        if (response) {
            log_.noteRequest(request, {}, "redirected");
        } else {
            response = answer(request);
        }
        return {.response = spoiled(std::move(*response), request, faults_),
                .delay = faults_.delay,
                .persistence = faults_.persistence};
    }

  private:
    bool takesFault(const Request& request) {
        if (request.origin == Origin::second || request.path() == "/events") return false;
        if (!touches(faults_.scope, request.path())) return false;
        return !faults_.count || spoiledCount_++ < *faults_.count;
    }

    Response answer(const Request& request) {
        const std::string_view path = request.path();
        if (path == "/events") return {.body = boost::json::serialize(log_.contents())};
        if (path == "/graphql") return answerAccount(request);
        if (path == "/v1/produce") return answerEvent(request);
        Response response = textResponse(404, "There is nothing here.\n");
        if (startsWith(path, "/pictures/")) response = gallery_.answer(request);
        if (path == "/") response = textResponse(200, welcome);
        log_.noteRequest(request, {}, std::to_string(response.status));
        return response;
    }

    Response answerAccount(const Request& request) {
        AccountReply reply = account_->answer(request);
        log_.noteRequest(request, reply.operation, reply.outcome);
        return std::move(reply.response);
    }

    Response answerEvent(const Request& request) {
        const std::string refusal = refusalOfEvent(request);
        log_.noteEvent(request, refusal);
        if (refusal.empty()) return {.body = "{}"};
        return textResponse(422, refusal + "\n");
    }

    Scenario scenario_;
    std::optional<AccountServer> account_;
    PictureGallery gallery_;
    EventLog log_;
    Faults faults_;
    Refusal refusal_;
    std::string port_;
    std::string otherPort_;
    std::string otherOrigin_;
    int spoiledCount_ = 0;
};

Sandbox::Sandbox(const SandboxOptions& options)
    : certificates_(options.transport == Transport::tls ? std::optional(madeCertificates()) : std::nullopt),
      services_(std::make_unique<Services>(options)),
      server_(std::make_unique<WebServer>(
          WebServerOptions{.port = options.port,
                           .certificates = certificates_,
                           .endsOnSignals = options.endsOnSignals,
                           .endsWithProcess = options.endsWithProcess,
                           .longestLife = options.longestLife},
          [services = services_.get()](const Request& request) { return services->serve(request); })) {
    services_->open(server_->url(Origin::first), server_->url(Origin::second));
}

Sandbox::~Sandbox() = default;

std::string Sandbox::baseURL() const {
    return server_->url(Origin::first);
}

const std::optional<Certificates>& Sandbox::certificates() const {
    return certificates_;
}

void Sandbox::run() {
    server_->run();
}

void Sandbox::stop() {
    server_->stop();
}

}  // namespace sandbox
