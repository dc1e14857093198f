// SPDX-License-Identifier: Apache-2.0

#include "host/companion/SignInWindow.hpp"

#include "host/companion/Companion.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"
#include "platform/ProcessInfo/SiblingProgram.hpp"

namespace host {

namespace {

platform::SiblingProgram windowProgram() {
    return {.name = "vela-companion-window", .package = "vela-widget-gtk"};
}

bool isSet(const char* variable) {
    return !platform::environmentVariable(variable).value_or("").empty();
}

}  // namespace

bool hasSignInWindow() {
    return windowProgram().isInstalled();
}

bool hasDisplay() {
    return isSet("WAYLAND_DISPLAY") || isSet("DISPLAY");
}

void showSignInWindow() {
    if (!hasSignInWindow())
        throw CompanionError(
            "the sign-in window is not installed: install the package vela-widget-gtk, or sign in on a "
            "terminal: vela-companion sign-in");
    if (!hasDisplay())
        throw CompanionError(
            "there is no desktop to show a window on; on a terminal: vela-companion sign-in");
    windowProgram().become({});
}

}  // namespace host
