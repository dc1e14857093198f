// SPDX-License-Identifier: Apache-2.0

#include "platform/SystemEvents/LinuxSystemEvents.hpp"

#include <chrono>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/Asio/DescriptorWatch.hpp"
#include "platform/Bundle/AppGroup.hpp"
#include "platform/Bundle/Bundle.hpp"
#include "platform/Date/SystemZone.hpp"
#include "platform/MessageBus/MessageBus.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/Security/PersonalKeychain.hpp"
#include "platform/SystemEvents/ClockWatcher.hpp"
#include "platform/SystemEvents/FileWatcher.hpp"
#include "platform/SystemEvents/KeychainVersion.hpp"
#include "platform/SystemEvents/KeyringWatcher.hpp"
#include "platform/SystemEvents/NetworkWatcher.hpp"
#include "platform/UserDefaults/FileUserDefaults.hpp"

namespace platform {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::milliseconds together{150};
constexpr std::chrono::seconds servicePatience{10};
constexpr const char* networkManager = "org.freedesktop.NetworkManager";
// NetworkManager's "connected", to a site at least.
constexpr std::uint32_t connectedToSite = 60;

std::string ownerOf(const BusMessage& message, std::size_t argument) {
    const auto* owner = message.argument<std::string>(argument);
    return owner ? *owner : "";
}

}  // namespace

WatchedStores WatchedStores::ofPerson() {
    const auto kind = personalKeychainKind();
    WatchedStores stores = {.zone = SystemZone::file()};
    if (kind == KeychainKind::secretService) stores.keyring = Keyring::watched;
    if (kind == KeychainKind::embedded) stores.keychain = personalKeychainFile();
    if (const auto home = dataHome())
        stores.defaults = *home / appGroup(Bundle::main().infoDictionary()) / FileUserDefaults::fileName;
    return stores;
}

struct LinuxSystemEvents::State {
    State(const boost::asio::any_io_executor& usedExecutor, const WatchedStores& watched, Handler toldHandler)
        : executor(usedExecutor),
          handler(std::move(toldHandler)),
          soon(executor, [this] { tell(); }),
          system(executor, MessageBus::Kind::system),
          clock(executor, [this](SystemEvent event) { note(event); }) {
        watchFiles(watched);
        if (watched.keyring == WatchedStores::Keyring::watched)
            keyring.emplace(
                executor, [this] { note(SystemEvent::secretsChanged); },
                [this] { note(SystemEvent::secretsKnown); });
        listenToLogind();
        listenToNetworkManager();
        takeNetworkManager(false);
        system.connect([this] { askForNetworkManager(); }, [this] { takeNetworkManager(false); });
    }

    void watchFiles(const WatchedStores& watched) {
        std::vector<fs::path> files;
        std::vector<SystemEvent> events;
        const auto add = [&](const std::optional<fs::path>& file, SystemEvent event) {
            if (!file || !file->is_absolute()) return;
            files.push_back(*file);
            events.push_back(event);
        };
        add(watched.keychain, SystemEvent::secretsChanged);
        add(watched.defaults, SystemEvent::defaultsChanged);
        add(watched.zone, SystemEvent::zoneChanged);
        fileWatcher.emplace(executor, std::move(files),
                            [this, events](std::size_t file) { note(events[file]); });
    }

    void listenToLogind() {
        system.listen({.sender = "org.freedesktop.login1",
                       .interface = "org.freedesktop.login1.Manager",
                       .member = "PrepareForSleep",
                       .path = "/org/freedesktop/login1"},
                      [this](const BusMessage& signal) {
                          const auto* isComing = signal.argument<bool>(0);
                          if (isComing && !*isComing) note(SystemEvent::resumed);
                      });
    }

    void listenToNetworkManager() {
        system.listen({.sender = networkManager,
                       .interface = networkManager,
                       .member = "StateChanged",
                       .path = "/org/freedesktop/NetworkManager"},
                      [this](const BusMessage& signal) {
                          if (const auto* state = signal.argument<std::uint32_t>(0)) takeNetworkState(*state);
                      });
        system.listen({.sender = "org.freedesktop.DBus",
                       .interface = "org.freedesktop.DBus",
                       .member = "NameOwnerChanged",
                       .path = "/org/freedesktop/DBus",
                       .firstArgument = networkManager},
                      [this](const BusMessage& signal) { takeNetworkManager(!ownerOf(signal, 2).empty()); });
    }

    /// Where it runs it knows best; where it does not, or nobody can say, the kernel knows.
    void askForNetworkManager() {
        system.call({.destination = "org.freedesktop.DBus",
                     .path = "/org/freedesktop/DBus",
                     .interface = "org.freedesktop.DBus",
                     .member = "GetNameOwner",
                     .arguments = {std::string(networkManager)}},
                    servicePatience, [this](const BusMessage& answer) {
                        takeNetworkManager(answer.error.empty() && !ownerOf(answer, 0).empty());
                    });
    }

    void takeNetworkManager(bool runs) {
        if (runs) return network.reset();
        networkState = 0;
        if (!network) network.emplace(executor, [this] { note(SystemEvent::networkReturned); });
    }

    void takeNetworkState(std::uint32_t state) {
        const std::uint32_t before = std::exchange(networkState, state);
        if (state >= connectedToSite && state > before) note(SystemEvent::networkReturned);
    }

    void note(SystemEvent event) {
        pending.insert(event);
        if (!soon.isSet()) soon.set(together);
    }

    void tell() {
        const auto told = std::exchange(pending, {});
        for (const SystemEvent event : told) handler(event);
    }

    boost::asio::any_io_executor executor;
    Handler handler;
    std::set<SystemEvent> pending;
    Alarm soon;
    MessageBus system;
    ClockWatcher clock;
    std::optional<FileWatcher> fileWatcher;
    std::optional<KeyringWatcher> keyring;
    std::optional<NetworkWatcher> network;
    std::uint32_t networkState = 0;
};

LinuxSystemEvents::LinuxSystemEvents(const boost::asio::any_io_executor& executor, WatchedStores stores)
    : executor_(executor), stores_(std::move(stores)) {}

LinuxSystemEvents::~LinuxSystemEvents() = default;

void LinuxSystemEvents::listen(Handler handler) {
    state_ = std::make_unique<State>(executor_, stores_, std::move(handler));
}

std::string LinuxSystemEvents::keychainVersion() const {
    if (stores_.keychain) return platform::keychainVersion(*stores_.keychain);
    return state_ && state_->keyring ? state_->keyring->version() : "";
}

}  // namespace platform
