// SPDX-License-Identifier: Apache-2.0

#pragma once

// What is to be drawn, as JSON: the members of a `render` request. Pure functions, safe from any thread.

#include <boost/json/value.hpp>

#include "widget/DrawingRequest.hpp"

namespace host {

/// All but the family.
boost::json::object drawingRequestObject(const widget::DrawingRequest& request);

/// Throws ProtocolError, and EntryCodingError for the entry.
widget::DrawingRequest drawingRequestFromObject(const boost::json::object& object);

}  // namespace host
