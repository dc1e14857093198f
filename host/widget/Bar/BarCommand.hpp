// SPDX-License-Identifier: Apache-2.0

#pragma once

// `vela-widget bar`: the live host's state for a status bar, once or at every change, and what a bar does at
// a click and at a turn of the wheel.

#include "host/widget/Bar/BarFormat.hpp"

namespace host {

struct BarCommand {
    enum class Action {
        print,
        /// A line at every change, until nobody reads on.
        follow,
        next,
        previous,
        open,
    };

    BarStyle style;
    Action action = Action::print;

    /// The exit status: 0 whatever the state is, for bars hide what fails. Where no live host can be had a
    /// line on standard error says why, and so do the bar's words; what a click or the wheel asks for is 1
    /// then.
    int run() const;
};

}  // namespace host
