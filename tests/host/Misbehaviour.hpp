// SPDX-License-Identifier: Apache-2.0

#pragma once

// The extension that does what a test tells it (MisbehavingExtension.cpp lists the words), and hosts for it.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <functional>
#include <string>

#include "host/widget/OneShotHost.hpp"
#include "tests/support/Program.hpp"
#include "tests/support/ScopedEnvironment.hpp"
#include "tests/support/TemporaryFolder.hpp"

namespace host {

class Misbehaviour : public testing::Test {
  protected:
    static std::filesystem::path executable() {
        return platform::testing::programFolder().parent_path() / "tests/MisbehavingExtension";
    }

    std::string path(const std::string& name) const { return (folder.path() / name).string(); }

    struct Ending {
        int status;
        std::string errors;
    };

    /// What `host` returns and writes on standard error while the extension behaves like that.
    template <typename Host>
    static Ending ending(const std::string& behaviour, Host host) {
        const platform::testing::ScopedEnvironment scope({{"VELA_TEST_BEHAVIOUR", behaviour}});
        testing::internal::CaptureStderr();
        const int status = host();
        return {status, testing::internal::GetCapturedStderr()};
    }

    Ending ask(
        ExtensionRequest::Kind kind, const std::string& behaviour,
        std::function<void(const Message&)> present = [](const Message&) {}) const {
        const ExtensionRequest question = {.kind = kind};
        const OneShotRequest request = {
            .request = question, .present = std::move(present), .extension = settings};
        return ending(behaviour, [&] { return runOnce(request); });
    }

    /// Nothing that was started is left, not even for somebody to wait for.
    static bool isNothingLeft() { return ::waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD; }

    platform::testing::TemporaryFolder folder;
    /// No limit is ever met, unless a test sets one.
    ExtensionSettings settings = {.executable = executable(),
                                  .answerLimit = std::chrono::hours(1),
                                  .drawingLimit = std::chrono::hours(1),
                                  .farewellLimit = std::chrono::hours(1),
                                  .renewalLimit = std::chrono::hours(1)};
};

}  // namespace host
