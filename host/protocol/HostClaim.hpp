// SPDX-License-Identifier: Apache-2.0

#pragma once

// The claim on the folder of a person's live host: one process at a time has it, and while nobody has, what
// lies there was left by a host that was killed. Given up with the object, and by the system's hand when the
// process dies. For one thread.

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

class HostClaim {
  public:
    static constexpr const char* lockName = "host.lock";
    static constexpr const char* socketName = "host.socket";
    /// What was told of packages, as hashes; kept from one host to the next.
    static constexpr const char* notificationsName = "notifications.json";
    static constexpr const char* notificationsTemporaryName = ".notifications.json.new";
    /// Names the folder of files beside this one, if there is one.
    static constexpr const char* outputName = "output";

    /// Makes the folder where it is missing and closes it to others, waits a moment for a host that ends, and
    /// removes what one that was killed has left. Throws HostPlaceError.
    static HostClaim take(const HostAddress& address);
    /// The same for the program that this process was before: what lies there is its own.
    static HostClaim inherit(const HostAddress& address);

    /// Removes the files of the folder and of the one beside it, the lock, and the folder where it is empty;
    /// none of them where the claim was lost.
    ~HostClaim();
    HostClaim(HostClaim&& other) noexcept = default;
    HostClaim& operator=(HostClaim&&) = delete;

    /// Not where somebody removed the folder or the lock.
    bool isHeld() const;
    /// What changes when it is not.
    std::filesystem::path lockFile() const { return address_.folder / lockName; }
    const HostAddress& address() const { return address_; }
    const platform::Descriptor& folder() const { return folder_; }

    /// Says in the lock which process has it.
    void sign() const;
    /// Files are kept in that folder as well, and are to be removed with the others. Throws HostPlaceError.
    void noteOutput(const std::filesystem::path& output) const;

  private:
    friend void removeLeftoversOfDeadHost();
    HostClaim(HostAddress address, platform::Descriptor folder, platform::Descriptor lock)
        : address_(std::move(address)), folder_(std::move(folder)), lock_(std::move(lock)) {}

    static HostClaim wait(const HostAddress& address);
    /// Nothing while another has it.
    static std::optional<HostClaim> tryToTake(const HostAddress& address, platform::Descriptor folder);
    static std::optional<HostClaim> tryToTakeOf(const HostAddress& address,
                                                const platform::Descriptor& folder);
    int removeFiles() const;

    HostAddress address_;
    platform::Descriptor folder_;
    platform::Descriptor lock_;
};

/// Removes all that a live host which was killed has left of its person; nothing where one runs, which knows
/// by itself what is stored, nor where there is no place for one. Waits a moment for one that may be about to
/// end. Throws HostPlaceError where it cannot be
/// removed.
void removeLeftoversOfDeadHost();

}  // namespace host
