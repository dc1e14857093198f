// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a desktop shell has to say of a live host's state, ready to be shown: a shell decides nothing. Pure
// functions, but for the zone of the process, which hours are told in.

#include <boost/json/value.hpp>
#include <cstddef>

#include "host/protocol/LiveState.hpp"

namespace host {

/// Columns of the text in a panel, which has other things to show beside it.
inline constexpr std::size_t panelColumns = 40;

/// {"asOf", "class", "hasTrouble", "isStale", "keychain", "keptFor", "link", "packages": [{"class", "link",
/// "percentage", "spoken", "text"}], "percentage", "remark", "shortText", "spoken", "text", "tooltip"}, with
/// null for what is absent. Texts are plain, each on one line but for the tooltip's. A shell that cannot have
/// any host forgets it `keptFor` seconds after `asOf`, or, without that, after the host was lost.
boost::json::object panelObject(const LiveState& state, platform::Date now);

}  // namespace host
