// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/KeyringWatcher.hpp"

#include <algorithm>
#include <chrono>
#include <map>
#include <utility>

namespace platform {
namespace {

constexpr const char* keyringName = "org.freedesktop.secrets";
constexpr const char* keyringPath = "/org/freedesktop/secrets";
constexpr std::chrono::milliseconds burst{50};
constexpr std::chrono::seconds searchPatience{10};

// The kind that SecretServiceItemStore gives its items.
const std::map<std::string, std::string> ourKind = {{"xdg:schema", "vela.Keychain.GenericPassword"}};

}  // namespace

KeyringWatcher::KeyringWatcher(const boost::asio::any_io_executor& executor, std::function<void()> changed)
    : changed_(std::move(changed)),
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
    if (before && (isOurs || *before != items)) changed_();
}

}  // namespace platform
