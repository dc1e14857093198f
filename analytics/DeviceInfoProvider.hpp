// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <concepts>
#include <string>

namespace analytics {

/// A source of device facts: the device model's name and the operating system's version.
template <typename Source>
concept DeviceInfoProvider = requires(const Source& source) {
    { source.model() } -> std::convertible_to<std::string>;
    { source.systemVersion() } -> std::convertible_to<std::string>;
};

}  // namespace analytics
