// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a terminal sends for the keys of the followed view. A plain value.

#include <string>
#include <string_view>
#include <vector>

namespace host {

enum class Key { up, down, pageUp, pageDown, first, last, open, copy, reload, help, redraw, quit };

class KeyReader {
  public:
    /// The keys that are complete with it; others are passed over, whole.
    std::vector<Key> take(std::string_view bytes);
    /// An escape has come, and nothing after it so far: the beginning of a sequence, or the key.
    bool isUndecided() const { return sequence_ == "\x1b"; }
    /// It was the key.
    std::vector<Key> decide();

  private:
    void takeByte(char byte, std::vector<Key>& keys);
    std::string sequence_;
};

}  // namespace host
