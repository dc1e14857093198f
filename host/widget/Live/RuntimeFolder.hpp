// SPDX-License-Identifier: Apache-2.0

#pragma once

// A folder in which a live host shows its state as files: each replaced in one step, and only when it holds
// something else. Belongs to one thread.

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "host/protocol/HostClaim.hpp"
#include "platform/Files/Descriptor.hpp"

namespace host {

class RuntimeFolder {
  public:
    /// Receives, in words for a person, that files cannot be written: once, until one can be again.
    using Notice = std::function<void(std::string_view)>;
    /// Whether its host has its place still. Where it was lost nothing is written any more, since the person
    /// may have signed out while the host was stopped; where it is another's, nothing is removed.
    using Standing = std::function<HostClaim::Standing()>;

    /// An open folder; files of ours that it has from before are taken for unknown.
    RuntimeFolder(std::filesystem::path path, platform::Descriptor folder, Notice onNotice,
                  Standing standing = always);
    /// Makes it where it is missing, and removes what a host that was killed has left in it. Throws
    /// std::system_error.
    static RuntimeFolder make(const std::filesystem::path& path, Notice onNotice, Standing standing = always);
    /// The same, but what is in it counts as written by this one, holding something else than is written
    /// next.
    static RuntimeFolder inherit(const std::filesystem::path& path, Notice onNotice,
                                 Standing standing = always);
    void inheritFiles();
    /// Removes what it has written.
    ~RuntimeFolder();
    RuntimeFolder(RuntimeFolder&& other) noexcept = default;
    RuntimeFolder& operator=(RuntimeFolder&&) = delete;

    /// False where it cannot be written or may not be; the old file stays.
    bool write(const std::string& name, std::string_view bytes);
    void remove(const std::string& name);
    /// Every picture but those of these names.
    template <typename Keep>
    void removePictures(Keep keep) {
        for (auto file = written_.begin(); file != written_.end();) {
            const auto next = std::next(file);
            if (file->first.ends_with(pictureEnding) && !keep(file->first)) remove(std::string(file->first));
            file = next;
        }
    }

  private:
    static HostClaim::Standing always() { return HostClaim::Standing::held; }

    static constexpr std::string_view pictureEnding = ".png";

    struct Content {
        std::size_t size;
        std::size_t hash;
        bool operator==(const Content&) const = default;
    };

    std::filesystem::path path_;
    platform::Descriptor folder_;
    Notice onNotice_;
    Standing standing_;
    std::map<std::string, Content, std::less<>> written_;
    bool isFailing_ = false;
};

}  // namespace host
