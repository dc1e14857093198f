#pragma once

// A host for one command: starts an extension, asks it one thing, hands the answer on, and ends the
// extension.

#include <functional>
#include <string>

#include "host/ExtensionRequest.hpp"
#include "host/MessageChannel.hpp"

namespace host {

struct OneShotRequest {
    ExtensionRequest request;
    /// Receives the answer; what it throws fails the command.
    std::function<void(const Message&)> present;
    /// Shown beside the spinner on a terminal while the answer is awaited; empty for no spinner.
    std::string caption = {};
};

/// Runs the request to its end. What the extension prints is passed on to standard error, line by line. After
/// a timeline was presented, uploads in flight are waited for, 2 seconds at most. Returns the exit status: 0,
/// or 1 with a line on standard error.
int runOnce(const OneShotRequest& request);

/// Writes all of `text` to standard output; throws std::system_error when it cannot.
void writeToStandardOutput(std::string_view text);

/// Passes a line of the extension's on to standard error.
void printExtensionLine(std::string_view line);

/// "PROGRAM: MESSAGE" on standard error.
void printError(std::string_view program, std::string_view message);

}  // namespace host
