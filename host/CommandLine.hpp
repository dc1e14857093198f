#pragma once

// What our programs' command lines have in common.

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "platform/WidgetKit/WidgetFamily.hpp"

namespace host {

/// The names under which a person may ask for a family.
std::vector<std::string> familyNames();

/// Parses, runs `command`, and gives the exit status: 0 for success and help, 2 for wrong usage, else the
/// command's.
int runCommandLine(CLI::App& app, int count, const char* const* arguments);

/// The exit status a subcommand asks for.
class ExitStatus : public std::exception {
  public:
    explicit ExitStatus(int value) : value_(value) {}
    int value() const { return value_; }

  private:
    int value_;
};

}  // namespace host
