// SPDX-License-Identifier: Apache-2.0

#pragma once

// Members of a request's JSON object, each with what stands for it where it is absent. For what reads
// requests. Each function throws ProtocolError for a member of another type. Pure functions, safe from any
// thread.

#include <boost/json/value.hpp>
#include <string_view>

#include "platform/WidgetKit/WidgetFamily.hpp"

namespace host {

std::string_view memberText(const boost::json::object& object, std::string_view key,
                            std::string_view fallback);
double memberNumber(const boost::json::object& object, std::string_view key, double fallback);
/// The family asked for; one that is not known is one that a later platform might add.
platform::WidgetFamily memberFamily(const boost::json::object& object);

}  // namespace host
