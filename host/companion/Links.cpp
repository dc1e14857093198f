// SPDX-License-Identifier: Apache-2.0

#include "host/companion/Links.hpp"

#include <arpa/inet.h>

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <map>
#include <system_error>
#include <utility>

#include "host/companion/Companion.hpp"
#include "host/companion/SignInWindow.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "platform/MessageBus/DesktopNotification.hpp"
#include "platform/MessageBus/MessageBus.hpp"
#include "platform/ProcessInfo/ChildProgram.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/Text/ASCII.hpp"
#include "server/SharedDefaults.hpp"

namespace host {

namespace asio = boost::asio;
using presentation::DeepLink;

namespace {

constexpr const char* ownHandler = "vela-companion.desktop";
/// Set for the app that a link is handed to: one that hands it back would never come to an end.
constexpr const char* handedOverVariable = "VELA_LINK_HANDED_OVER";
constexpr int patienceWithDesktop = 5;

/// A name may begin as such an address does.
bool isLoopback(const std::string& host) {
    in_addr address = {};
    const bool isAddress = ::inet_pton(AF_INET, host.c_str(), &address) == 1;
    return host == "localhost" || host == "::1" || (isAddress && host.starts_with("127."));
}

/// On this machine alone nobody can listen to http.
bool isWebAddress(const platform::URL& address) {
    if (address.host().empty()) return false;
    return address.scheme() == "https" || (address.scheme() == "http" && isLoopback(address.host()));
}

Link linkForApp(const std::string& text, const DeepLink::Target& target) {
    const auto site = accountSite();
    const auto page = platform::URL::parse(site.address + target.page());
    if (!page || !isWebAddress(*page))
        throw CompanionError("the account site's address is no https address, so that " + target.words() +
                             " cannot be opened");
    // As the desktop knows the scheme, however it was written.
    const auto own = std::string(DeepLink::scheme) + text.substr(DeepLink::scheme.size());
    return {.text = own,
            .target = target,
            .page = page->withoutUserInformation(),
            .isPageServed = site.isConfigured};
}

/// Whether the desktop knows another program for the app's links: the app.
bool hasApp() {
    if (platform::environmentVariable(handedOverVariable)) return false;
    const auto handler = platform::outputOf(
        {.program = "xdg-mime",
         .arguments = {"query", "default", "x-scheme-handler/" + std::string(DeepLink::scheme)}},
        patienceWithDesktop);
    const std::string answer = handler.value_or("");
    const auto name = platform::trimmed(answer);
    return !name.empty() && name != ownHandler;
}

bool isForSignIn(const Link& link) {
    using Kind = DeepLink::Target::Kind;
    return link.target && link.target->kind == Kind::homeOrders && isSignedIn() == false &&
           hasSignInWindow() && hasDisplay();
}

void openByDesktop(const std::string& address, const std::map<std::string, std::string>& variables = {}) {
    using Stream = platform::ChildProgram::Stream;
    int status = 0;
    try {
        status = platform::ChildProgram({.program = "xdg-open",
                                         .arguments = {address},
                                         .variables = variables,
                                         .input = Stream::discarded})
                     .wait();
    } catch (const std::system_error& error) {
        throw CompanionError("xdg-open, of the package xdg-utils, cannot be started: " +
                             error.code().message());
    }
    if (status != 0) throw CompanionError("xdg-open could not open " + address);
}

/// What is noted as the app may be left of one that was removed.
bool isTakenByApp(const Link& link) {
    if (!link.target || !hasApp()) return false;
    try {
        openByDesktop(link.text, {{handedOverVariable, "yes"}});
        return true;
    } catch (const CompanionError&) {
        return false;
    }
}

asio::awaitable<int> notified(platform::BusCall call) {
    const auto executor = co_await asio::this_coro::executor;
    asio::steady_timer answered(executor, asio::steady_timer::time_point::max());
    platform::MessageBus bus(executor, platform::MessageBus::Kind::session);
    bus.connect([] {});
    bus.call(call, platform::notificationPatience, [&](const platform::BusMessage&) { answered.cancel(); });
    boost::system::error_code ignored;
    co_await answered.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    co_return 0;
}

}  // namespace

Link Link::read(const std::string& text) {
    if (const auto target = DeepLink::read(text)) return linkForApp(text, *target);
    const auto address = text.size() <= DeepLink::longestLink ? platform::URL::parse(text) : std::nullopt;
    if (!address) throw CompanionError("this is no link that can be opened");
    if (address->scheme() == DeepLink::scheme) throw CompanionError("the link leads nowhere that is known");
    if (!isWebAddress(*address))
        throw CompanionError("only the widget's links and https addresses are opened");
    return {.text = text,
            .target = std::nullopt,
            .page = address->withoutUserInformation(),
            .isPageServed = true};
}

void openLink(const Link& link) {
    if (isTakenByApp(link)) return;
    if (isForSignIn(link)) showSignInWindow();
    if (link.isPageServed) return openByDesktop(link.page.absoluteString());
    throw CompanionError("nothing was opened: it would be " + link.target->words() + ", " +
                         link.page.absoluteString() +
                         ", but no account site is configured. To name it: vela-companion defaults write " +
                         server::SharedDefaultsKey::accountSite + " https://...");
}

void notifyDesktop(const std::string& sentence) {
    // A service may read markup in it; an address says the same like this.
    std::string text;
    for (const char character : sentence) text += character == '&' ? "%26" : std::string(1, character);
    const platform::DesktopNotification notification = {.title = "Vela", .text = text};
    platform::runToEnd(notified(notification.call()));
}

}  // namespace host
