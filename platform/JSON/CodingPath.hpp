// SPDX-License-Identifier: Apache-2.0

#pragma once

// Where in a JSON text something stands: the keys and positions on the way from the top. A path is a chain of
// links that live on the stack of whoever descends, so that a descent that succeeds costs nothing;
// `components` and `text` are for the one that fails. It holds keys only, never values.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

class CodingPath {
  public:
    CodingPath() = default;
    /// `parent` and the characters of `key` must outlive this link.
    CodingPath(const CodingPath& parent, std::string_view key) : parent_(&parent), key_(key) {}
    CodingPath(const CodingPath& parent, std::size_t index)
        : parent_(&parent), isIndex_(true), index_(index) {}

    /// Outermost first; a position is "[3]".
    std::vector<std::string> components() const {
        if (!parent_) return {};
        std::vector<std::string> all = parent_->components();
        all.push_back(isIndex_ ? "[" + std::to_string(index_) + "]" : std::string(key_));
        return all;
    }

  private:
    const CodingPath* parent_ = nullptr;
    bool isIndex_ = false;
    std::string_view key_;
    std::size_t index_ = 0;
};

/// "deliveriesOrdersList.nodes[3].status"; empty for the top.
inline std::string joined(const std::vector<std::string>& components) {
    std::string text;
    for (const std::string& component : components) {
        if (!text.empty() && component.front() != '[') text += '.';
        text += component;
    }
    return text;
}

}  // namespace platform
