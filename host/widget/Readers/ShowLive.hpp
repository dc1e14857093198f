// SPDX-License-Identifier: Apache-2.0

#pragma once

// `vela-widget show --live`: what the live host shows, in the terminal, without a request to the server.

#include "host/widget/TerminalStyle.hpp"

namespace host {

/// Starts the live host where none runs, and waits for its first answer for as long as a person does. The
/// exit status: 0, or 1 with a line on standard error where no host can be had.
int showLive(const TerminalStyle& style);

}  // namespace host
