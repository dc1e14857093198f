// SPDX-License-Identifier: Apache-2.0

#pragma once

// What the widget's query selects of a delivery and of an order, so that a scenario need only say what is
// special about an item: every field that it leaves out is filled in as the server would, and one that the
// schema does not have is refused.

#include <boost/json/value.hpp>

namespace sandbox {

/// An item of the list with every selected field. An item of another type passes as it is. Throws Error.
boost::json::object selected(const boost::json::object& item);

}  // namespace sandbox
