// SPDX-License-Identifier: Apache-2.0

#pragma once

// Opens the widget's links as a click does: by the companion, in a process that outlives its reader. Belongs
// to one executor.

#include <sys/types.h>

#include <boost/asio/any_io_executor.hpp>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace platform {
class DescriptorWatch;
}  // namespace platform

namespace host {

/// The companion that stands beside this program.
std::filesystem::path companionProgram();

enum class Confinement {
    none,
    /// This process is a service that may do little and have little memory, and a browser that it started
    /// would be a part of it: the service manager starts the companion in its place.
    ofService,
};

struct LinkOpening {
    std::filesystem::path program;
    std::vector<std::string> arguments;
    std::map<std::string, std::string> variables = {};
};

/// What is started for a link. The token is the desktop's leave to come to the front; it may be empty.
LinkOpening linkOpening(const std::string& link, const std::string& activationToken, Confinement confinement);

/// Opens a link and does not wait for it. Throws std::system_error.
void openLink(const std::string& link);

class LinkOpener {
  public:
    using EndHandler = std::function<void(bool isOpen)>;

    explicit LinkOpener(
        boost::asio::any_io_executor executor, EndHandler onEnd = [](bool) {});
    /// What is being opened goes on.
    ~LinkOpener();
    LinkOpener(const LinkOpener&) = delete;
    LinkOpener& operator=(const LinkOpener&) = delete;

    /// `onEnd` is told, later, whether the companion could open it. The token is the desktop's leave to come
    /// to the front.
    void open(const std::string& link, const std::string& activationToken = {});

  private:
    void take(pid_t id);

    boost::asio::any_io_executor executor_;
    EndHandler onEnd_;
    std::map<pid_t, std::unique_ptr<platform::DescriptorWatch>> processes_;
};

}  // namespace host
