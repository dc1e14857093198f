// SPDX-License-Identifier: Apache-2.0

#pragma once

// What our programs' command lines have in common.

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "platform/WidgetKit/WidgetFamily.hpp"

namespace platform {

/// The names under which a person may ask for a family.
std::vector<std::string> familyNames();

/// The one of `words` that `word` was probably meant to be; nothing when it is far from all of them.
std::optional<std::string> nearestWord(const std::string& word, const std::vector<std::string>& words);

/// Takes any way of writing a number from `least` to `most`, and nothing else, NaN least of all.
CLI::Validator numberWithin(double least, double most);

/// Parses, runs the command, and gives the exit status: 0 for success and help, 2 for wrong usage, else the
/// command's. Wrong usage names the word that is unknown, but not beside `confidentialCommand`, nor where it
/// is longer than any command: what a person puts there by mistake may be a secret.
int runCommandLine(CLI::App& app, int count, const char* const* arguments,
                   const std::string& confidentialCommand = {});

/// The exit status a subcommand asks for.
class ExitStatus : public std::exception {
  public:
    explicit ExitStatus(int value) : value_(value) {}
    int value() const { return value_; }

  private:
    int value_;
};

}  // namespace platform
