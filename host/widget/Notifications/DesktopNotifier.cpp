// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Notifications/DesktopNotifier.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include "host/reader/TerminalText.hpp"
#include "platform/Log/Logger.hpp"
#include "platform/MessageBus/DesktopNotification.hpp"
#include "platform/Text/Markup.hpp"
#include "presentation/SpokenPackage.hpp"

namespace host {

using platform::BusCall;
using platform::BusMessage;
using platform::notificationCall;
using platform::notificationPath;
using platform::notificationService;

namespace {

constexpr std::uint8_t lowUrgency = 0;
constexpr std::uint8_t normalUrgency = 1;

/// The names are a stranger's.
std::string line(std::string_view text) {
    return fittedToColumns(terminalSafe(text), presentation::longestSpokenPart);
}

}  // namespace

DesktopNotifier::DesktopNotifier(const boost::asio::any_io_executor& executor, Open open)
    : open_(std::move(open)), bus_(executor, platform::MessageBus::Kind::session) {
    const auto listen = [this](const char* member, void (DesktopNotifier::*take)(const BusMessage&)) {
        bus_.listen({.sender = notificationService,
                     .interface = notificationService,
                     .member = member,
                     .path = notificationPath},
                    [this, take](const BusMessage& signal) { (this->*take)(signal); });
    };
    listen("ActivationToken", &DesktopNotifier::noteToken);
    listen("ActionInvoked", &DesktopNotifier::noteAction);
    listen("NotificationClosed", &DesktopNotifier::noteClosing);
    // Another service counts anew.
    bus_.listen({.sender = "org.freedesktop.DBus",
                 .interface = "org.freedesktop.DBus",
                 .member = "NameOwnerChanged",
                 .firstArgument = notificationService},
                [this](const BusMessage&) {
                    for (auto& [link, shown] : shown_) shown.number = 0;
                });
    bus_.connect([] {});
}

void DesktopNotifier::show(const Notice& notice) {
    const auto [shown, isNew] = shown_.try_emplace(notice.link);
    if (!isNew && shown->second.isOnItsWay) {
        shown->second.next = notice;
        return;
    }
    shown->second.isOnItsWay = true;
    ask(notice);
}

void DesktopNotifier::ask(const Notice& notice) {
    const Errand errand = {.notice = notice, .generation = generation_};
    bus_.call(notificationCall("GetCapabilities"), platform::notificationPatience,
              [this, errand](const BusMessage& answer) {
                  const auto* capabilities = answer.argument<std::vector<std::string>>(0);
                  if (!capabilities) return arrive(errand, answer);
                  const auto can = [&](const char* capability) {
                      return std::find(capabilities->begin(), capabilities->end(), capability) !=
                             capabilities->end();
                  };
                  askForQuiet(errand, {.hasMarkup = can("body-markup"), .hasActions = can("actions")});
              });
}

void DesktopNotifier::askForQuiet(const Errand& errand, Service service) {
    auto asking = notificationCall("Get", {std::string(notificationService), std::string("Inhibited")});
    asking.interface = "org.freedesktop.DBus.Properties";
    bus_.call(asking, platform::notificationPatience, [this, errand, service](const BusMessage& answer) {
        // Most services have no such property.
        const auto* isInhibited = answer.argument<bool>(0);
        Service asked = service;
        asked.isQuiet = isInhibited && *isInhibited;
        send(errand, asked);
    });
}

void DesktopNotifier::send(const Errand& errand, const Service& service) {
    if (errand.generation != generation_) return;
    const Notice& notice = errand.notice;
    std::string text = line(notice.status);
    if (!notice.detail.empty()) text += "\n" + line(notice.detail);
    platform::BusVariants hints = {{"urgency", service.isQuiet ? lowUrgency : normalUrgency}};
    if (service.isQuiet) hints["suppress-sound"] = true;
    using Texts = std::vector<std::string>;
    const platform::DesktopNotification notification = {
        .replaces = shown_[notice.link].number,
        .title = line(notice.title),
        .text = service.hasMarkup ? platform::escapedForMarkup(text) : text,
        .actions = service.hasActions ? Texts{"default", "Open"} : Texts(),
        .hints = std::move(hints)};
    bus_.call(notification.call(), platform::notificationPatience,
              [this, errand](const BusMessage& answer) { arrive(errand, answer); });
}

void DesktopNotifier::arrive(const Errand& errand, const BusMessage& answer) {
    const auto* number = answer.argument<std::uint32_t>(0);
    if (!number && !std::exchange(hasComplained_, true))
        platform::Logger::standard().log(platform::LogLevel::info, "a notification cannot be shown: %s",
                                         {{answer.error}});
    // It is nobody's any more.
    if (errand.generation != generation_) {
        if (number) close(*number);
        return;
    }
    Shown& shown = shown_[errand.notice.link];
    shown.isOnItsWay = false;
    if (number) shown.number = *number;
    if (const auto next = std::exchange(shown.next, std::nullopt)) show(*next);
}

void DesktopNotifier::withdrawAll() {
    ++generation_;
    for (const auto& [link, shown] : shown_)
        if (shown.number != 0) close(shown.number);
    shown_.clear();
}

void DesktopNotifier::close(std::uint32_t number) {
    auto closing = notificationCall("CloseNotification", {number});
    closing.ifAbsent = BusCall::IfAbsent::leave;
    bus_.call(closing, platform::notificationPatience, [](const BusMessage&) {});
}

void DesktopNotifier::noteToken(const BusMessage& signal) {
    const auto* token = signal.argument<std::string>(1);
    activationToken_ = token ? *token : "";
}

void DesktopNotifier::noteAction(const BusMessage& signal) {
    const auto* number = signal.argument<std::uint32_t>(0);
    const auto* action = signal.argument<std::string>(1);
    const std::string token = std::exchange(activationToken_, "");
    if (!number || *number == 0 || !action || *action != "default") return;
    for (const auto& [link, shown] : shown_)
        if (shown.number == *number) return open_(std::string(link), token);
}

void DesktopNotifier::noteClosing(const BusMessage& signal) {
    const auto* number = signal.argument<std::uint32_t>(0);
    if (!number) return;
    std::erase_if(shown_,
                  [&](const auto& one) { return one.second.number == *number && !one.second.isOnItsWay; });
    // The next of a link that is on its way is shown anew.
    for (auto& [link, shown] : shown_)
        if (shown.number == *number) shown.number = 0;
}

}  // namespace host
