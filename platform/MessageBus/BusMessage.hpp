// SPDX-License-Identifier: Apache-2.0

#pragma once

// What goes over a message bus, as plain values.

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace platform {

/// A table of values that say their own types ("a{sv}").
using BusVariants = std::map<std::string, std::variant<bool, std::uint8_t, std::uint32_t, std::string>>;

/// One argument. Object paths and signatures are texts; the first alternative stands for what came in a type
/// that is none of these.
using BusValue = std::variant<std::monostate, bool, std::int32_t, std::uint32_t, std::uint64_t, std::string,
                              std::vector<std::string>, std::map<std::string, std::string>, BusVariants>;

struct BusCall {
    std::string destination;
    std::string path;
    std::string interface;
    std::string member;
    std::vector<BusValue> arguments = {};
    /// Whether the bus may start the service that is asked.
    enum class IfAbsent { leave, start } ifAbsent = IfAbsent::leave;
};

/// A signal, or the answer to a call.
struct BusMessage {
    std::string sender = {};
    std::string path = {};
    std::string interface = {};
    std::string member = {};
    /// The error's name where the call failed, else empty.
    std::string error = {};
    std::vector<BusValue> arguments = {};

    /// The argument at `index` where it is there and of that type, else nothing.
    template <typename Value>
    const Value* argument(std::size_t index) const {
        return index < arguments.size() ? std::get_if<Value>(&arguments[index]) : nullptr;
    }
};

}  // namespace platform
