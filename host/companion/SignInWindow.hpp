// SPDX-License-Identifier: Apache-2.0

#pragma once

// The window in which a person signs in: a program of its own, in a package of its own.

namespace host {

/// Whether that program stands beside this one.
bool hasSignInWindow();
/// Whether there is a desktop to show it on.
bool hasDisplay();
/// Goes on as that program. Throws std::runtime_error where it cannot; `what()` says what to do.
[[noreturn]] void showSignInWindow();

}  // namespace host
