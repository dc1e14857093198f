// SPDX-License-Identifier: Apache-2.0

#include "host/companion/SignInWindow.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "host/companion/Companion.hpp"
#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace host {

namespace {

constexpr const char* windowProgram = "vela-companion-window";

std::filesystem::path windowProgramPath() {
    return platform::executablePath().parent_path() / windowProgram;
}

bool isSet(const char* variable) {
    return !platform::environmentVariable(variable).value_or("").empty();
}

}  // namespace

bool hasSignInWindow() {
    return ::access(windowProgramPath().c_str(), X_OK) == 0;
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
    ::execl(windowProgramPath().c_str(), windowProgram, static_cast<char*>(nullptr));
    throw CompanionError(std::string(windowProgram) + " cannot be started: " + std::strerror(errno));
}

}  // namespace host
