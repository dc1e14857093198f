// SPDX-License-Identifier: Apache-2.0

#pragma once

// A run of the companion that stands beside this program, without waiting for it. For the thread of the main
// loop.

#include <sigc++/connection.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ProcessInfo/ChildProgram.hpp"

namespace host {

class CompanionRun {
  public:
    struct Outcome {
        bool isSuccess = false;
        std::string output = {};
        /// What it said to the person, without its name before each line; where it said nothing so, all that
        /// stood there.
        std::string words = {};
    };
    using EndHandler = std::function<void(const Outcome&)>;
    /// A line that it says while it runs.
    using LineHandler = std::function<void(const std::string&)>;

    /// `input` is all that it reads. Throws std::system_error where it cannot be started. `onEnd` may destroy
    /// this.
    CompanionRun(
        const std::vector<std::string>& arguments, std::string_view input, EndHandler onEnd,
        LineHandler onLine = [](const std::string&) {});
    /// A run that has not ended is ended: it has changed everything then, or nothing.
    ~CompanionRun();
    CompanionRun(const CompanionRun&) = delete;
    CompanionRun& operator=(const CompanionRun&) = delete;

  private:
    bool takeWords();
    void conclude();

    platform::ChildProgram program_;
    EndHandler onEnd_;
    LineHandler onLine_;
    std::string words_;
    sigc::connection saying_;
    sigc::connection ending_;
};

}  // namespace host
