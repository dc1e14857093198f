// SPDX-License-Identifier: Apache-2.0

#pragma once

// What the tables of statuses are made of. Constant values; safe from any thread.

#include <algorithm>
#include <array>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>

namespace presentation {

/// Where a line may be taken from, in order: the first source that has something to say wins.
template <class Source>
class Chain {
  public:
    static constexpr std::size_t longest = 3;

    constexpr Chain() = default;
    constexpr Chain(std::initializer_list<Source> sources) : count_(sources.size()) {
        std::copy(sources.begin(), sources.end(), sources_.begin());
    }

    constexpr const Source* begin() const { return sources_.data(); }
    constexpr const Source* end() const { return sources_.data() + count_; }

    /// What the first source gives that gives anything.
    template <class Words>
    std::optional<std::string> firstPresent(const Words& words) const {
        for (const Source source : *this) {
            if (std::optional<std::string> text = words(source)) return text;
        }
        return std::nullopt;
    }

  private:
    std::array<Source, longest> sources_ = {};
    std::size_t count_ = 0;
};

/// Whether a table has one row for each status, in the order of declaration.
template <class Row, std::size_t count>
constexpr bool hasARowForEachStatus(const std::array<Row, count>& table) {
    using Status = decltype(Row::status);
    for (std::size_t index = 0; index < count; ++index) {
        if (table[index].status != static_cast<Status>(index)) return false;
    }
    return count == static_cast<std::size_t>(Status::unknownValue) + 1;
}

/// Of a table that has one row for each.
template <class Row, std::size_t count>
constexpr const Row& rowOf(const std::array<Row, count>& table, decltype(Row::status) status) {
    return table[static_cast<std::size_t>(status)];
}

}  // namespace presentation
