// SPDX-License-Identifier: Apache-2.0

#pragma once

// What a side of the conversation makes of bytes that come over its socket, by the channel it has.

#include <string_view>
#include <vector>

#include "host/protocol/MessageChannel.hpp"

/// The messages in what the other side sent before it went away. An input that begins with a NUL is the bytes
/// after it; any other stands for a greeting and a frame for each of its lines, with what follows a NUL in
/// the line as attachment: a fuzzer that had to keep lengths right would seldom get behind them.
std::vector<host::Message> messagesIn(std::string_view input);
