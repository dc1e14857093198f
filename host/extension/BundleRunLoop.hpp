// SPDX-License-Identifier: Apache-2.0

#pragma once

// The extension's side of the conversation: serves the host's requests, several at once, until the host goes
// away.

#include "widget/VelaWidgetBundle.hpp"

namespace host {

/// Serves `bundle` over the connected socket that the host handed down. Ends the process when the host has
/// closed it; what is then still in flight (transfers, a drawing) is abandoned, not waited for, except an
/// expiring activity: a renewal of the tokens.
[[noreturn]] void runBundle(const widget::VelaWidgetBundle& bundle, int hostSocket);

}  // namespace host
