// SPDX-License-Identifier: Apache-2.0

#pragma once

// Asks a person at a terminal for secrets: what is typed or pasted is not shown. The terminal is as it was
// after each answer, while the job is stopped, and ahead of the end of a process that a signal ends. One at a
// time, for the thread that made it.

#include <signal.h>
#include <termios.h>

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "platform/Files/Descriptor.hpp"

namespace host {

/// What is typed so far, and what becomes of the next byte. Pure, but for the secret that it holds.
class SecretLine {
  public:
    enum class Step { goesOn, ends, gaveUp, isTooLong };

    /// A line ends with the Enter key, unless it begins with a brace: a JSON text ends with its closing
    /// brace. Backspace and Ctrl-U take back, Ctrl-D at the beginning gives up. A terminal's marks around
    /// what is pasted, and its other sequences, are dropped.
    Step take(char byte);
    const std::string& text() const { return text_; }

  private:
    enum class Sequence { none, begun, parameters };

    Step takeKey(char byte);
    bool isWholeObject() const;
    bool isObject() const;

    std::string text_;
    std::string parameters_;
    Sequence sequence_ = Sequence::none;
    bool isPasting_ = false;
};

class SecretPrompt {
  public:
    /// Longer answers are refused, in bytes.
    static constexpr std::size_t longestAnswer = 64 << 10;

    /// Opens the process's terminal. Throws CompanionError where it has none.
    SecretPrompt();
    ~SecretPrompt();
    SecretPrompt(const SecretPrompt&) = delete;
    SecretPrompt& operator=(const SecretPrompt&) = delete;

    /// The answer without blanks at its ends. Throws CompanionError where there is none.
    std::string ask(std::string_view question);
    void say(std::string_view line) const;

  private:
    void hide();
    void show();
    SecretLine::Step takeInput(SecretLine& line, bool isHungUp);
    void takeSignal(std::string_view question);

    platform::Descriptor terminal_;
    platform::Descriptor signals_{-1};
    sigset_t watched_ = {};
    sigset_t before_ = {};
    termios modes_ = {};
};

}  // namespace host
