// SPDX-License-Identifier: Apache-2.0

#pragma once

// Notices when files change, come, go or are replaced, by the kernel's word (inotify) and without looking
// again. Neither a file nor its folder has to exist; symbolic links on the way are followed, and watched
// themselves. Where the kernel has no watches left it is asked again after growing pauses, and the log says
// so once. Belongs to one executor.

#include <boost/asio/any_io_executor.hpp>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Asio/DescriptorWatch.hpp"
#include "platform/Asio/GrowingPause.hpp"
#include "platform/Files/Descriptor.hpp"

namespace platform {

class FileWatcher {
  public:
    /// `changed` is told which of `files` (absolute paths) may hold something else than before, by its index.
    FileWatcher(const boost::asio::any_io_executor& executor, std::vector<std::filesystem::path> files,
                std::function<void(std::size_t)> changed);

    /// Why a name in a watched folder matters to a file.
    struct Interest {
        std::size_t file;
        /// It is the file, or a step on the way to it.
        enum class Part { file, step } part;
        /// Empty where the folder itself is the step.
        std::string name;
    };
    using Interests = std::map<int, std::vector<Interest>>;

  private:
    /// By the index of the file.
    using Changes = std::vector<bool>;

    void start();
    Interests watchAll(const Descriptor& kernel) const;
    void read();
    void drain(Changes& changes);
    void note(int watch, std::uint32_t mask, std::string_view name, Changes& changes);
    void compareIdentities(Changes& changes);
    void tell(const Changes& changes) const;
    void fail(int error);

    boost::asio::any_io_executor executor_;
    std::vector<std::filesystem::path> files_;
    std::function<void(std::size_t)> changed_;
    /// What tells whether another file stands at a path.
    std::vector<std::string> identities_;
    Interests interests_;
    bool isWayChanged_ = false;
    GrowingPause pause_;
    bool hasComplained_ = false;
    std::optional<DescriptorWatch> kernel_;
    Alarm retry_;
};

}  // namespace platform
