// SPDX-License-Identifier: Apache-2.0

#pragma once

// Asks for the user's ten latest deliveries and orders, with every picture at most `maxImageSize` pixels wide
// and high. A plain value.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphApi.hpp"
#include "VelaApi/Sources/VelaApi/TrackingWidgetResponse.hpp"
#include "platform/JSON/Coding.hpp"

namespace VelaApi {

class TrackingWidgetQuery {
  public:
    using Response = TrackingWidgetResponse;

    explicit TrackingWidgetQuery(std::int32_t maxImageSize) : maxImageSize_(maxImageSize) {}

    std::int32_t maxImageSize() const { return maxImageSize_; }

    static std::string_view queryString();
    /// None: the text is the whole description of the request.
    static std::optional<GraphSelections::Operation> operationSelections() { return std::nullopt; }
    /// Made on first use, and then shared by all operations of this type.
    static const platform::JSONEncoder& customEncoder();

    static constexpr auto fields() {
        return std::tuple(platform::field("maxImageSize", &TrackingWidgetQuery::maxImageSize_));
    }

    bool operator==(const TrackingWidgetQuery&) const = default;

  private:
    std::int32_t maxImageSize_;
};

extern template boost::json::object variables<TrackingWidgetQuery>(const TrackingWidgetQuery& operation);

}  // namespace VelaApi
