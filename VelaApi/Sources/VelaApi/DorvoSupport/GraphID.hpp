// SPDX-License-Identifier: Apache-2.0

#pragma once

// An opaque identifier that the server gave. A plain value; one JSON string on the wire.

#include <compare>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <utility>

#include "platform/JSON/Coding.hpp"

namespace VelaApi {

class GraphID {
  public:
    // A text stands for its identifier wherever one is expected.
    GraphID(std::string rawValue) : rawValue_(std::move(rawValue)) {}  // NOLINT(google-explicit-constructor)
    GraphID(const char* rawValue) : rawValue_(rawValue) {}             // NOLINT(google-explicit-constructor)

    /// Nothing when the text is absent.
    static std::optional<GraphID> fromRawValue(std::optional<std::string> rawValue) {
        if (!rawValue) return std::nullopt;
        return GraphID(*std::move(rawValue));
    }

    const std::string& rawValue() const { return rawValue_; }

    auto operator<=>(const GraphID&) const = default;

    static GraphID decode(const platform::Decoder& decoder) { return decoder.decode<std::string>(); }
    void encode(platform::Encoder& encoder) const { encoder.encode(rawValue_); }

  private:
    std::string rawValue_;
};

inline std::ostream& operator<<(std::ostream& stream, const GraphID& identifier) {
    return stream << identifier.rawValue();
}

}  // namespace VelaApi

template <>
struct std::hash<VelaApi::GraphID> {
    std::size_t operator()(const VelaApi::GraphID& identifier) const {
        return std::hash<std::string>()(identifier.rawValue());
    }
};
