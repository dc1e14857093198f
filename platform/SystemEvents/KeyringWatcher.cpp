// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/KeyringWatcher.hpp"

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <utility>

#include "platform/SystemEvents/KeychainVersion.hpp"

namespace platform {
namespace {

constexpr const char* keyringName = "org.freedesktop.secrets";
constexpr const char* keyringPath = "/org/freedesktop/secrets";
constexpr std::chrono::milliseconds burst{50};
constexpr std::chrono::seconds searchPatience{10};

// The kind that SecretServiceItemStore gives its items.
const std::map<std::string, std::string> ourKind = {{"xdg:schema", "vela.Keychain.GenericPassword"}};

}  // namespace

KeyringWatcher::KeyringWatcher(const boost::asio::any_io_executor& executor, std::function<void()> changed,
                               std::function<void()> learned)
    : changed_(std::move(changed)),
      learned_(std::move(learned)),
      bus_(executor, MessageBus::Kind::session),
      soon_(executor, [this] { search(); }) {
    const auto searchSoon = [this] {
        if (!soon_.isSet()) soon_.set(burst);
    };
    const BusSignal any = {.sender = keyringName, .path = keyringPath, .reach = BusSignal::Reach::within};
    bus_.listen(any, [this, searchSoon](const BusMessage& signal) {
        if (const auto* object = signal.argument<std::string>(0)) touched_.insert(*object);
        searchSoon();
    });
    const BusSignal owner = {.sender = "org.freedesktop.DBus",
                             .interface = "org.freedesktop.DBus",
                             .member = "NameOwnerChanged",
                             .path = "/org/freedesktop/DBus",
                             .firstArgument = keyringName};
    bus_.listen(owner, [searchSoon](const BusMessage&) { searchSoon(); });
    bus_.connect([this] { search(); });
}

void KeyringWatcher::search() {
    const BusCall searching = {.destination = keyringName,
                               .path = keyringPath,
                               .interface = "org.freedesktop.Secret.Service",
                               .member = "SearchItems",
                               .arguments = {ourKind}};
    bus_.call(searching, searchPatience, [this](const BusMessage& answer) { compare(answer); });
}

void KeyringWatcher::compare(const BusMessage& answer) {
    const auto texts = [&answer](std::size_t index) {
        const auto* found = answer.argument<std::vector<std::string>>(index);
        return found ? std::set<std::string>(found->begin(), found->end()) : std::set<std::string>();
    };
    // No keyring, no items.
    const Items items = {.readable = texts(0), .locked = texts(1)};
    const auto touched = std::exchange(touched_, {});
    const bool isOurs = std::any_of(touched.begin(), touched.end(), [&items](const std::string& object) {
        return items.readable.contains(object) || items.locked.contains(object);
    });
    const auto before = std::exchange(items_, items);
    ++searches_;
    if (before && (isOurs || *before != items)) isChangeUntold_ = true;
    if (answer.error.empty() && items.locked.empty()) return askDates();
    tell();
}

void KeyringWatcher::tell() {
    if (std::exchange(isChangeUntold_, false)) changed_();
}

void KeyringWatcher::askDates() {
    const auto dates = std::make_shared<Dates>();
    const auto& items = items_->readable;
    if (items.empty()) return take(*dates);
    for (const auto& item : items) {
        const BusCall asking = {
            .destination = keyringName,
            .path = item,
            .interface = "org.freedesktop.DBus.Properties",
            .member = "Get",
            .arguments = {std::string("org.freedesktop.Secret.Item"), std::string("Modified")}};
        bus_.call(asking, searchPatience,
                  [this, dates, item, search = searches_, awaited = items.size()](const BusMessage& answer) {
                      const auto* date = answer.argument<std::uint64_t>(0);
                      (*dates)[item] = date ? *date : 0;
                      if (dates->size() == awaited && search == searches_) take(*dates);
                  });
    }
}

void KeyringWatcher::take(const Dates& dates) {
    std::string condition;
    for (const auto& [item, date] : dates)
        condition.append(item).append(" ").append(std::to_string(date)).append("\n");
    const auto before = std::exchange(version_, platform::keychainVersion("keyring", condition));
    if (isChangeUntold_) return tell();
    if (before != version_) learned_();
}

}  // namespace platform
