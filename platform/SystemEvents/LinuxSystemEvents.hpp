// SPDX-License-Identifier: Apache-2.0

#pragma once

// What the kernel and the machine's services say of themselves: nothing here looks again at intervals, and
// what cannot be heard (no bus, no watches left) leaves the rest working. Events that come together are told
// once, 150 ms after the first.

#include <boost/asio/any_io_executor.hpp>
#include <filesystem>
#include <memory>
#include <optional>

#include "platform/SystemEvents/SystemEvents.hpp"

namespace platform {

/// What is to be watched, by absolute paths. Nothing has to exist.
struct WatchedStores {
    /// The embedded keychain.
    std::optional<std::filesystem::path> keychain = std::nullopt;
    /// Whether the items of our kind in the desktop's keyring are.
    enum class Keyring { left, watched } keyring = Keyring::left;
    /// A suite's preferences.
    std::optional<std::filesystem::path> defaults = std::nullopt;
    /// What the system's zone is read from; nothing where that is no file.
    std::optional<std::filesystem::path> zone = std::nullopt;

    /// This person's, and this process's zone, by the environment and the bundle.
    static WatchedStores ofPerson();
};

/// Belongs to the executor. Not to be destroyed by its own handler.
class LinuxSystemEvents : public SystemEvents {
  public:
    LinuxSystemEvents(const boost::asio::any_io_executor& executor, WatchedStores stores);
    ~LinuxSystemEvents() override;

    void listen(Handler handler) override;
    std::string keychainVersion() const override;

  private:
    struct State;
    boost::asio::any_io_executor executor_;
    WatchedStores stores_;
    std::unique_ptr<State> state_;
};

}  // namespace platform
