// SPDX-License-Identifier: Apache-2.0

#pragma once

// A file of one person's whose bytes stand for things that processes exclude one another from. A lock belongs
// to the open file: it ends with its object, and with the process however that ends. Nothing is ever written
// to the file. For one thread at a time.

#include <filesystem>

namespace platform {

class LockFile {
  public:
    /// Where a byte lies is a contract between versions.
    enum class Byte {
        /// Held while the keychain's items are changed, where the store itself cannot exclude others.
        items = 0,
        /// Held while the tokens are renewed (shared) or replaced (exclusive).
        renewal = 1,
        /// Held by who waits for `renewal` exclusively, so that those who come later let it go first.
        queue = 2,
    };
    enum class Mode { shared, exclusive };

    /// Makes the file and its folder where they are missing, with modes 0600 and 0700. Throws
    /// KeychainFailure.
    static LockFile open(const std::filesystem::path& path);
    ~LockFile();
    LockFile(LockFile&& other) noexcept;
    LockFile& operator=(LockFile&& other) noexcept;

    /// False while another open file excludes it. Throws KeychainFailure where locks cannot be had.
    bool tryLock(Byte byte, Mode mode);
    void unlock(Byte byte);

  private:
    explicit LockFile(std::filesystem::path path) : path_(std::move(path)) {}
    void openFile();
    bool isStillThere() const;

    std::filesystem::path path_;
    int descriptor_ = -1;
};

}  // namespace platform
