// SPDX-License-Identifier: Apache-2.0

#pragma once

// The one place of a person's live host: the claim on its folder, and the socket in it. Held by one process
// at a time, however many begin at once; given up with the object, and by the system's hand when the process
// dies.

#include <boost/asio/any_io_executor.hpp>
#include <optional>
#include <utility>

#include "host/protocol/HostClaim.hpp"
#include "platform/Files/Descriptor.hpp"

namespace host {

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

    /// Whose folder and lock it is; lost with them.
    const HostClaim& claim() const { return claim_; }
    /// Where readers connect; belongs to the place.
    int socket() const { return socket_; }
    bool ownsSocket() const { return !isHandedDown_; }

  private:
    explicit HostPlace(HostClaim claim) : claim_(std::move(claim)) {}

    void listen();

    HostClaim claim_;
    platform::Descriptor socket_{-1};
    /// The socket is the service manager's, who goes on listening.
    bool isHandedDown_ = false;
};

}  // namespace host
