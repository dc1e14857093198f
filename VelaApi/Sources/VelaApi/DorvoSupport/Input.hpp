// SPDX-License-Identifier: Apache-2.0

#pragma once

// An input field of an operation in its three states: given, explicitly null, not given. A plain value.
// Part of the interface of every schema; that of today has no such field.

#include <optional>
#include <utility>

#include "platform/JSON/Coding.hpp"

namespace VelaApi {

template <class Wrapped>
class Input {
  public:
    /// Given, or explicitly null when `value` is absent.
    static Input value(std::optional<Wrapped> value) { return Input(true, std::move(value)); }
    static Input undefined() { return Input(false, std::nullopt); }
    /// Given when `value` is present, else not given; never explicitly null.
    static Input orUndefined(std::optional<Wrapped> value) {
        return value ? Input::value(std::move(value)) : undefined();
    }

    const std::optional<Wrapped>& optionalValue() const { return value_; }

    bool operator==(const Input&) const = default;

    /// Nothing at all when not given.
    void encode(platform::Encoder& encoder) const {
        if (isDefined_) encoder.encode(value_);
    }

  private:
    Input(bool isDefined, std::optional<Wrapped> value) : isDefined_(isDefined), value_(std::move(value)) {}

    bool isDefined_;
    std::optional<Wrapped> value_;
};

}  // namespace VelaApi
