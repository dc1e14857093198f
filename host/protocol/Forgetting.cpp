// SPDX-License-Identifier: Apache-2.0

#include "host/protocol/Forgetting.hpp"

#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "host/protocol/HostAddress.hpp"
#include "host/protocol/HostClaim.hpp"
#include "host/protocol/LocalSocket.hpp"
#include "platform/Files/Patience.hpp"
#include "platform/Files/TrustedFolder.hpp"

namespace host {

using platform::Descriptor;
using platform::TrustedFolder;

namespace {

/// A host that ends, or is killed, gives its place up within this.
constexpr platform::Patience patienceWithEnd = {.inAll = std::chrono::milliseconds(300),
                                                .pause = std::chrono::milliseconds(20)};
/// For the rest of the second after which somebody who waits is told why.
constexpr platform::Patience patienceWithoutAWord = {.inAll = std::chrono::milliseconds(700),
                                                     .pause = std::chrono::milliseconds(20)};
/// For the rest of the five seconds in which one that works greets whoever connects, also on a machine that
/// has much else to do.
constexpr platform::Patience patienceWithSilence = {.inAll = std::chrono::seconds(4),
                                                    .pause = std::chrono::milliseconds(20)};

std::optional<HostAddress> placeOfPerson() {
    try {
        return HostAddress::ofPerson();
    } catch (const HostAddressError&) {
        return std::nullopt;
    }
}

/// At the door of a live host, which greets before it is asked anything.
class Knock {
  public:
    explicit Knock(std::filesystem::path socket) : path_(std::move(socket)) {}

    bool isAnswered() {
        if (!socket_.isOpen()) socket_ = Descriptor(connectedLocalSocket(path_));
        if (!socket_.isOpen()) return false;
        char first = 0;
        const auto length = ::recv(socket_, &first, sizeof first, MSG_DONTWAIT | MSG_PEEK);
        const bool isWaiting = length < 0 && (errno == EAGAIN || errno == EINTR);
        if (length <= 0 && !isWaiting) socket_ = Descriptor(-1);
        return length > 0;
    }

    /// Whether it is that process who listens, and not a service manager on its behalf.
    bool isAtDoorOf(pid_t process) const {
        ucred listener = {};
        socklen_t length = sizeof listener;
        return socket_.isOpen() && ::getsockopt(socket_, SOL_SOCKET, SO_PEERCRED, &listener, &length) == 0 &&
               listener.pid == process;
    }

  private:
    std::filesystem::path path_;
    Descriptor socket_{-1};
};

/// The place of a person's host, on behalf of who is to forget what is shown there.
class Forgetting {
  public:
    explicit Forgetting(HostAddress address) : address_(std::move(address)), knock_(address_.socket()) {}

    void forget(const std::function<void(std::string_view)>& notice) {
        const auto isFree = [this] { return isFreeOrGone(); };
        if (!patienceWithEnd.suffices(isFree) && !isAnswered(notice)) expel(notice);
        const int error = claim_ ? removeAll() : 0;
        // It goes on to find its place lost, and ends.
        if (expelled_ > 0) ::kill(expelled_, SIGCONT);
        if (error != 0)
            throw HostPlaceError("what lies in " + address_.folder.string() +
                                 " cannot be removed: " + std::generic_category().message(error));
    }

  private:
    /// Nobody's place is taken at once.
    bool isFreeOrGone() {
        folder_ = TrustedFolder::open(address_.folder);
        if (!folder_) return true;
        if (auto taken = HostClaim::tryToTake(address_, folder_->descriptor()))
            claim_.emplace(*std::move(taken));
        return claim_.has_value();
    }

    bool isAnswered(const std::function<void(std::string_view)>& notice) {
        const auto isAlive = [this] { return isFreeOrGone() || knock_.isAnswered(); };
        // One that is stopped would answer no later either.
        if (HostClaim::Holder(folder_->descriptor()).isStopped()) return knock_.isAnswered();
        if (patienceWithoutAWord.suffices(isAlive)) return true;
        notice("waiting for the live host, which does not answer");
        return patienceWithSilence.suffices(isAlive);
    }

    void expel(const std::function<void(std::string_view)>& notice) {
        const HostClaim::Holder holder(folder_->descriptor());
        const bool isStopped = holder.isStopped();
        holder.expel(folder_->descriptor());
        // What begins in this moment has nothing of the person before.
        if (!isFreeOrGone() || !claim_) return;
        if (holder.process() > 1) expelled_ = holder.process();
        notice("the live host" +
               (expelled_ > 0 ? " (process " + std::to_string(expelled_) + ")" : std::string()) +
               (isStopped ? " is stopped" : " does not answer") +
               ", so what it shows is removed; another one begins with the next reader");
    }

    /// The first error, 0 where there is none.
    int removeAll() {
        const int error = claim_->removeFiles();
        for (const char* name : {HostClaim::notificationsName, HostClaim::notificationsTemporaryName})
            ::unlinkat(claim_->folder(), name, 0);
        // A service manager may listen on it.
        const Descriptor door(connectedLocalSocket(address_.socket()));
        if (door == -ECONNREFUSED || (expelled_ > 0 && knock_.isAtDoorOf(expelled_)))
            ::unlinkat(claim_->folder(), HostClaim::socketName, 0);
        claim_.reset();
        return error;
    }

    HostAddress address_;
    Knock knock_;
    std::optional<TrustedFolder> folder_;
    std::optional<HostClaim> claim_;
    pid_t expelled_ = 0;
};

}  // namespace

void forgetInPlaceOfHost(const std::function<void(std::string_view)>& notice) {
    const auto address = placeOfPerson();
    if (!address) return;
    try {
        Forgetting(*address).forget(notice);
    } catch (const platform::FileError& error) {
        throw HostPlaceError(error.what());
    }
}

}  // namespace host
