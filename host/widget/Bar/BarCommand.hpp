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

    /// The exit status: 0 whatever the state is, for bars hide what fails; 1 with a line on standard error
    /// where no live host can be had at all.
    int run() const;
};

}  // namespace host
