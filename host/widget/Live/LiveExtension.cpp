// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Live/LiveExtension.hpp"

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <utility>

#include "host/widget/ExtensionAnswer.hpp"
#include "platform/Asio/Coroutines.hpp"

namespace host {

namespace asio = boost::asio;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds uploadPatienceOfHost = std::chrono::seconds(2);

}  // namespace

/// While there is one, the extension is not ended; with the last one its rest begins.
class SessionExtension::Use {
  public:
    explicit Use(SessionExtension& extension) : extension_(extension.self_) {
        ++extension.uses_;
        extension.idle_.cancel();
    }
    ~Use() {
        auto* extension = *extension_;
        if (!extension || --extension->uses_ > 0) return;
        platform::spawn(extension->idle_.get_executor(), extension->endAfterRest(),
                        [](const std::exception_ptr&) {});
    }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

  private:
    std::shared_ptr<SessionExtension*> extension_;
};

SessionExtension::SessionExtension(const asio::any_io_executor& executor, ExtensionSession::Options options,
                                   milliseconds rest)
    : session_(executor, std::move(options)),
      rest_(rest),
      idle_(executor),
      self_(std::make_shared<SessionExtension*>(this)) {}

SessionExtension::~SessionExtension() {
    *self_ = nullptr;
}

asio::awaitable<void> SessionExtension::endAfterRest() {
    boost::system::error_code error;
    idle_.expires_after(rest_);
    co_await idle_.async_wait(asio::redirect_error(asio::use_awaitable, error));
    if (!error && uses_ == 0) co_await end();
}

asio::awaitable<void> SessionExtension::end() {
    co_await session_.finishUploads(uploadPatienceOfHost);
    // It may have been needed meanwhile.
    if (uses_ == 0) co_await session_.end();
}

asio::awaitable<LiveExtension::Answer> SessionExtension::timeline(platform::WidgetFamily family) {
    const Use use(*this);
    const ExtensionRequest request = {.kind = ExtensionRequest::Kind::timeline, .family = family};
    const auto answer = co_await session_.ask(request);
    co_return Answer{.timeline = timelineIn(answer), .outcome = outcomeIn(answer)};
}

asio::awaitable<widget::CredentialReport> SessionExtension::credentials() {
    const Use use(*this);
    const ExtensionRequest request = {.kind = ExtensionRequest::Kind::credentials};
    const auto answer = co_await session_.askUrgently(request);
    co_return credentialsIn(answer);
}

asio::awaitable<bool> SessionExtension::wantsNotifications() {
    const Use use(*this);
    const ExtensionRequest request = {.kind = ExtensionRequest::Kind::settings};
    const auto answer = co_await session_.ask(request);
    co_return wantsNotificationsIn(answer);
}

asio::awaitable<std::string> SessionExtension::draw(widget::DrawingRequest drawing) {
    const Use use(*this);
    co_return co_await session_.draw(std::move(drawing));
}

void SessionExtension::leave() {
    idle_.cancel();
    session_.leave();
}

}  // namespace host
