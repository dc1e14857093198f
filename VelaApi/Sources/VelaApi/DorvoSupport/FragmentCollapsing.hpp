// SPDX-License-Identifier: Apache-2.0

#pragma once

// Flattening of the keys under which a dictionary holds its fragments. A pure function, safe from any thread.

#include <boost/json/value.hpp>

namespace VelaApi {

enum class FragmentCollapsing { keepFragments, collapseFragments };

/// `fields` with the entries of every dictionary under a key that begins with "fragment:" merged into the
/// level that holds it, at every depth. Where both sides have a key, two dictionaries merge, two lists merge
/// position by position and keep the tail of the longer, and of any other two values the one outside the
/// fragment stays.
boost::json::object collapsed(const boost::json::object& fields);

}  // namespace VelaApi
