// SPDX-License-Identifier: Apache-2.0

#pragma once

// Why somebody is shown the sign-in view. The widget shows no errors; a person at a terminal is told. Pure
// functions, safe from any thread.

#include <string_view>

#include "widget/FetchOutcome.hpp"
#include "widget/SimpleEntry.hpp"

namespace host {

/// Without capital and full stop; empty where the entry is no sign-in view, or nothing is stored to sign in
/// with.
std::string_view whySignedOut(const widget::SimpleEntry& entry, const widget::FetchOutcome& outcome);

/// What a person does about a sign-in view where nothing is stored to sign in with; else empty.
std::string_view howToSignIn(const widget::SimpleEntry& entry, const widget::FetchOutcome& outcome);

}  // namespace host
