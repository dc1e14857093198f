// SPDX-License-Identifier: Apache-2.0

#pragma once

// The claim on the folder of a person's live host: one process at a time has it, and while nobody has, what
// lies there was left by a host that was killed. Given up with the object, and by the system's hand when the
// process dies. For one thread.

#include <sys/types.h>

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
    /// Throws HostPlaceError where nobody could take it. Makes and takes nothing.
    static void requirePlace(const HostAddress& address);

    /// Removes the files of the folder and of the one beside it, the lock, and the folder where it is empty;
    /// none of them where the claim was lost.
    ~HostClaim();
    HostClaim(HostClaim&& other) noexcept = default;
    HostClaim& operator=(HostClaim&&) = delete;

    /// Lost where somebody removed the folder or the lock, as one does who has waited for an answer in vain.
    enum class Standing { held, lost, anothers };
    Standing standing() const;
    bool isHeld() const { return standing() == Standing::held; }
    /// What changes when it is not.
    std::filesystem::path lockFile() const { return address_.folder / lockName; }
    const HostAddress& address() const { return address_; }
    const platform::Descriptor& folder() const { return folder_; }

    /// Nothing while another has it, or where the folder went with its host. Throws HostPlaceError.
    static std::optional<HostClaim> tryToTake(const HostAddress& address, const platform::Descriptor& folder);

    /// Who has the claim on that folder, if somebody has.
    class Holder {
      public:
        explicit Holder(const platform::Descriptor& folder);
        /// 0 where it does not say.
        pid_t process() const { return process_; }
        /// It was told to stop (SIGSTOP), and hears nothing until it is told to go on.
        bool isStopped() const;
        /// Takes it away, unless it is another's by now.
        void expel(const platform::Descriptor& folder) const;

      private:
        platform::Descriptor lock_;
        pid_t process_;
    };

    /// Removes what is shown in the folder and in the one beside it; gives the first error, 0 where there is
    /// none.
    int removeFiles() const;

    /// Says in the lock which process has it.
    void sign() const;
    /// Files are kept in that folder as well, and are to be removed with the others. Throws HostPlaceError.
    void noteOutput(const std::filesystem::path& output) const;

  private:
    HostClaim(HostAddress address, platform::Descriptor folder, platform::Descriptor lock)
        : address_(std::move(address)), folder_(std::move(folder)), lock_(std::move(lock)) {}

    static HostClaim wait(const HostAddress& address);
    static std::optional<HostClaim> lockIn(const HostAddress& address, platform::Descriptor folder);

    HostAddress address_;
    platform::Descriptor folder_;
    platform::Descriptor lock_;
};

}  // namespace host
