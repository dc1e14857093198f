// SPDX-License-Identifier: Apache-2.0

#pragma once

// An open file or folder, closed at the end of its scope.

#include <unistd.h>

#include <utility>

namespace platform {

class Descriptor {
  public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor() {
        if (descriptor_ >= 0) ::close(descriptor_);
    }
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }

    /// Hands it on: whoever takes it closes it.
    int release() { return std::exchange(descriptor_, -1); }

    bool isOpen() const { return descriptor_ >= 0; }
    operator int() const { return descriptor_; }  // NOLINT(google-explicit-constructor)

  private:
    int descriptor_;
};

}  // namespace platform
