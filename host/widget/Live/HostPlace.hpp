// SPDX-License-Identifier: Apache-2.0

#pragma once

// The one place of a person's live host: its folder, the lock that says whose it is, and the socket in it.
// Held by one process at a time, however many begin at once; given up with the object, and by the system's
// hand when the process dies.

#include <boost/asio/any_io_executor.hpp>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include "host/protocol/HostAddress.hpp"
#include "platform/Files/Descriptor.hpp"

namespace host {

/// It cannot be had; `what()` says why, and whose it is.
class HostPlaceError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

class HostPlace {
  public:
    /// Takes the place, removes what a host that was killed has left there, and listens; on `listening`,
    /// where somebody listens already on this process's behalf. Throws HostPlaceError.
    static HostPlace claim(const HostAddress& address, std::optional<platform::Descriptor> listening);
    /// Takes it over from a host that was this process until now, with the socket that it listened on and
    /// with the files it has left. Throws HostPlaceError.
    static HostPlace inherit(const HostAddress& address, platform::Descriptor listening, bool ownsSocket);
    /// The socket that a service manager hands down, as its protocol has it: LISTEN_PID names this process,
    /// LISTEN_FDS counts descriptors from 3 on. Nothing where it does not; both variables are gone then.
    /// Throws HostPlaceError for what is no listening local socket. For one thread.
    static std::optional<platform::Descriptor> handedDownSocket();

    ~HostPlace();
    HostPlace(HostPlace&& other) noexcept = default;
    HostPlace& operator=(HostPlace&&) = delete;

    /// Whether it is still this process's: not where somebody removed the folder or the lock.
    bool isHeld() const;
    /// What changes when it is not.
    std::filesystem::path lockFile() const;
    const std::filesystem::path& folder() const { return address_.folder; }
    const platform::Descriptor& folderDescriptor() const { return folder_; }
    /// Where readers connect; belongs to the place.
    int socket() const { return socket_; }
    bool ownsSocket() const { return !isHandedDown_; }

  private:
    HostPlace(HostAddress address, platform::Descriptor folder, platform::Descriptor lock)
        : address_(std::move(address)), folder_(std::move(folder)), lock_(std::move(lock)) {}

    static HostPlace locked(const HostAddress& address);
    void listen();
    void sayWhoseItIs() const;
    void removeLeftovers() const;

    HostAddress address_;
    platform::Descriptor folder_;
    platform::Descriptor lock_;
    platform::Descriptor socket_{-1};
    /// The socket is the service manager's, who goes on listening.
    bool isHandedDown_ = false;
};

}  // namespace host
