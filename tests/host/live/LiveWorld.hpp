// SPDX-License-Identifier: Apache-2.0

#pragma once

// A live host in a world of a test's own: its clock, its machine, its extension.

#include <gtest/gtest.h>

#include <boost/asio/io_context.hpp>
#include <chrono>
#include <string>
#include <vector>

#include "host/widget/Live/LiveHost.hpp"
#include "platform/Asio/Coroutines.hpp"
#include "tests/host/live/ScriptedExtension.hpp"
#include "tests/support/FixedAmbient.hpp"
#include "tests/support/Patience.hpp"
#include "tests/support/ScriptedSystemEvents.hpp"
#include "tests/support/SteppedWallClock.hpp"

namespace host {

class LiveWorld : public testing::Test {
  public:
    ~LiveWorld() override {
        host.stop();
        clock.settle();
    }

  protected:
    using Change = LiveHost::Change;
    using CredentialState = widget::CredentialState;
    using ServerContact = widget::ServerContact;

    static constexpr double hour = 3600;

    LiveWorld() {
        observation = host.observe([this](const LiveState& state, Change change) {
            seen.push_back(shopNameIn(state.entry));
            forgotten += change == Change::forgotten ? 1 : 0;
        });
    }

    void start() {
        platform::spawn(context, host.run(),
                        [](const std::exception_ptr& failure) { std::rethrow_exception(failure); });
        clock.settle();
    }

    /// What it does of that is done when this returns.
    void happens(platform::SystemEvent event) {
        events.happens(event);
        clock.settle();
        // A look at what is stored waits for what else is written, by a clock that cannot be moved.
        context.restart();
        if (extension.checks < expectedChecks(event)) {
            const auto end = std::chrono::steady_clock::now() + platform::testing::patience;
            const int before = extension.checks;
            while (extension.checks == before && std::chrono::steady_clock::now() < end) {
                context.restart();
                context.run_one_for(std::chrono::milliseconds(200));
            }
        }
        clock.advance(ReloadPolicy::coalescing);
    }

    /// What happens by a clock that cannot be moved; false where it does not for long.
    template <typename Condition>
    bool runUntil(Condition condition) {
        const auto end = std::chrono::steady_clock::now() + platform::testing::patience;
        while (!condition() && std::chrono::steady_clock::now() < end) {
            context.restart();
            context.run_one_for(std::chrono::milliseconds(100));
        }
        return condition();
    }

    std::string shown() const { return shopNameIn(host.state().entry); }
    std::string trouble() const {
        return host.state().trouble ? std::string(name(*host.state().trouble)) : "none";
    }
    /// "10:00" of the day, or "" where the entry is as of now.
    std::string asOf() const {
        return host.state().asOf ? platform::internetDateTime(*host.state().asOf).substr(11, 5) : "";
    }

    boost::asio::io_context context{1};
    platform::testing::FixedAmbient ambient;
    platform::testing::SteppedWallClock clock{context, platform::testing::instant("2026-01-31T10:00:00Z")};
    platform::testing::ScriptedSystemEvents events;
    ScriptedExtension extension{context, clock};
    LiveHost host{context.get_executor(),
                  {.clock = clock, .events = events, .extension = extension, .random = [] { return 0.0; }}};
    /// What was shown, one after another, and how often what was before was somebody's who has gone.
    std::vector<std::string> seen;
    int forgotten = 0;
    LiveHost::Observation observation;

  private:
    int expectedChecks(platform::SystemEvent event) const {
        const bool looks =
            event == platform::SystemEvent::secretsChanged || event == platform::SystemEvent::defaultsChanged;
        return extension.checks + (looks ? 1 : 0);
    }
};

}  // namespace host
