// SPDX-License-Identifier: Apache-2.0

#pragma once

// A host for one command: starts an extension, asks it one thing, hands the answer on, and ends the
// extension.

#include <exception>
#include <functional>
#include <string>

#include "host/protocol/ExtensionRequest.hpp"
#include "host/protocol/MessageChannel.hpp"
#include "host/widget/ExtensionProcess.hpp"

namespace host {

struct OneShotRequest {
    ExtensionRequest request;
    /// Receives the answer; what it throws fails the command.
    std::function<void(const Message&)> present;
    /// Shown beside the spinner on a terminal while the answer is awaited; empty for no spinner, where no
    /// person waits.
    std::string caption = {};
    ExtensionSettings extension = {};
};

/// Runs the request to its end. What the extension prints is passed on to standard error, line by line, but
/// on a terminal not that a person who waits has no tokens. After a timeline was presented, uploads in flight
/// are waited for, 2 seconds at most. Returns the exit status: 0, or 1 with a line on standard error.
int runOnce(const OneShotRequest& request);

/// Writes all of `text` to standard output; throws std::system_error when it cannot.
void writeToStandardOutput(std::string_view text);

/// Passes a line of the extension's on to standard error: unchanged, but on a terminal without anything that
/// a terminal would obey.
void printExtensionLine(std::string_view line);

}  // namespace host
