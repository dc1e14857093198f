// SPDX-License-Identifier: Apache-2.0

#pragma once

// A folder whose files nobody can have put there or changed but the person and root. What is kept in it
// decides where a person's tokens go, so a folder or file that another user could have changed is not read.
//
// The folder and its files: no symbolic links, owned by the person or root, writable by the owner alone. On
// the way there: symbolic links are followed, a folder may belong to a group that can write to it, but not to
// a stranger, and not everyone may replace what lies in it. What is checked is what is opened, step by step,
// so that nothing can be put in its place in between. Safe from any thread.

#include <sys/stat.h>

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/Files/Descriptor.hpp"

namespace platform {

/// `what()` names the file or folder, says what is wrong, and where a command mends it, which one.
class FileError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
    /// "PATH: " and the system's words for `error`.
    FileError(const std::filesystem::path& path, int error);
};

class TrustedFolder {
  public:
    /// What other users may do with a file.
    enum class Others { mayRead, mayDoNothing };

    /// Nothing where there is no such folder. Throws FileError for one that is not to be trusted or cannot be
    /// used. `path` is absolute.
    static std::optional<TrustedFolder> open(const std::filesystem::path& path);
    /// Makes the folder and those above it where they are missing, with mode 0700.
    static TrustedFolder make(const std::filesystem::path& path);

    const std::filesystem::path& path() const { return path_; }
    const Descriptor& descriptor() const { return descriptor_; }

    /// The status of a trusted regular file; nothing where there is none. Opens nothing.
    std::optional<struct stat> fileStatus(const std::string& name, Others others) const;
    /// A trusted regular file, open for reading; nothing where there is none.
    std::optional<Descriptor> openFile(const std::string& name, Others others) const;

  private:
    TrustedFolder(std::filesystem::path path, Descriptor descriptor)
        : path_(std::move(path)), descriptor_(std::move(descriptor)) {}

    std::filesystem::path path_;
    Descriptor descriptor_;
};

}  // namespace platform
