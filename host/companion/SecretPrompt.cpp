// SPDX-License-Identifier: Apache-2.0

#include "host/companion/SecretPrompt.hpp"

#include <fcntl.h>
#include <poll.h>
#include <string.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>

#include "host/companion/Companion.hpp"
#include "platform/Files/Writing.hpp"
#include "platform/Text/ASCII.hpp"

namespace host {

namespace {

// Keys as a terminal sends them.
constexpr char endOfInput = 0x04;
constexpr char backspace = 0x08;
constexpr char killLine = 0x15;
constexpr char escape = 0x1B;
constexpr char rubOut = 0x7F;

// Mode 2004 of xterm, which all terminals of today share: marks around what is pasted.
constexpr std::string_view markPastes = "\x1b[?2004h";
constexpr std::string_view leavePastes = "\x1b[?2004l";
constexpr std::string_view pasteBegins = "200~";
constexpr std::string_view pasteEnds = "201~";

constexpr std::array watchedSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP};

/// The system stops a job in the background here until it is brought to the front: until then the terminal's
/// modes are the shell's line editor's, and its screen is not ours to write on.
bool awaitForeground(int terminal) {
    while (::tcdrain(terminal) != 0)
        if (errno != EINTR) return false;
    return true;
}

bool isIgnored(int signal) {
    struct sigaction action = {};
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

SecretLine::Step SecretLine::take(char byte) {
    switch (sequence_) {
        case Sequence::begun:
            // A key with Alt, unless a bracket begins parameters.
            sequence_ = byte == '[' || byte == 'O' ? Sequence::parameters : Sequence::none;
            parameters_.clear();
            return Step::goesOn;
        case Sequence::parameters:
            parameters_ += byte;
            if (byte < 0x40 && parameters_.size() < 16) return Step::goesOn;
            if (parameters_ == pasteBegins) isPasting_ = true;
            if (parameters_ == pasteEnds) isPasting_ = false;
            sequence_ = Sequence::none;
            return isWholeObject() && !isPasting_ ? Step::ends : Step::goesOn;
        case Sequence::none: break;
    }
    if (byte == escape) {
        sequence_ = Sequence::begun;
        return Step::goesOn;
    }
    return takeKey(byte);
}

SecretLine::Step SecretLine::takeKey(char byte) {
    const bool isEnter = byte == '\r' || byte == '\n';
    const bool isEmptyLine = isEnter && text_.ends_with('\n');
    if (isEnter && !isPasting_ && (!isObject() || isWholeObject() || isEmptyLine)) return Step::ends;
    if (byte == endOfInput) return text_.empty() ? Step::gaveUp : Step::ends;
    if (byte == backspace || byte == rubOut) {
        // The whole of a character.
        while (!text_.empty() && (static_cast<unsigned char>(text_.back()) & 0xC0) == 0x80) text_.pop_back();
        if (!text_.empty()) text_.pop_back();
        return Step::goesOn;
    }
    if (byte == killLine) {
        text_.clear();
        return Step::goesOn;
    }
    if (text_.size() >= SecretPrompt::longestAnswer) return Step::isTooLong;
    text_ += isEnter ? '\n' : byte;
    return isWholeObject() && !isPasting_ ? Step::ends : Step::goesOn;
}

bool SecretLine::isObject() const {
    return platform::trimmed(text_).starts_with('{');
}

bool SecretLine::isWholeObject() const {
    if (!isObject() || !platform::trimmed(text_).ends_with('}')) return false;
    int depth = 0;
    bool isInText = false;
    bool isEscaped = false;
    for (const char character : text_) {
        if (isEscaped) {
            isEscaped = false;
        } else if (isInText) {
            isEscaped = character == '\\';
            isInText = character != '"';
        } else {
            isInText = character == '"';
            depth += (character == '{') - (character == '}');
        }
    }
    return depth == 0;
}

SecretPrompt::SecretPrompt() : terminal_(::open("/dev/tty", O_RDWR | O_CLOEXEC)) {
    if (!terminal_.isOpen() || !awaitForeground(terminal_) || ::tcgetattr(terminal_, &modes_) != 0)
        throw CompanionError("there is no terminal to ask on: " + std::string(::strerror(errno)));
    ::sigemptyset(&watched_);
    for (const int signal : watchedSignals)
        if (!isIgnored(signal)) ::sigaddset(&watched_, signal);
    // What comes by a descriptor is dealt with in its turn, with the terminal as it was.
    ::pthread_sigmask(SIG_BLOCK, &watched_, &before_);
    signals_ = platform::Descriptor(::signalfd(-1, &watched_, SFD_CLOEXEC));
    if (signals_.isOpen()) return;
    const int error = errno;
    ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    throw CompanionError(std::string("cannot ask on the terminal: ") + ::strerror(error));
}

SecretPrompt::~SecretPrompt() {
    // What is left of a secret that was pasted is not for the shell.
    ::tcflush(terminal_, TCIFLUSH);
    ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

std::string SecretPrompt::ask(std::string_view question) {
    SecretLine line;
    auto step = SecretLine::Step::goesOn;
    // Ahead of the question: what is pasted at once is not shown either.
    hide();
    platform::writeAll(terminal_, question);
    while (step == SecretLine::Step::goesOn) {
        std::array<pollfd, 2> awaited = {pollfd{.fd = terminal_, .events = POLLIN, .revents = 0},
                                         pollfd{.fd = signals_, .events = POLLIN, .revents = 0}};
        if (::poll(awaited.data(), awaited.size(), -1) < 0 && errno != EINTR)
            step = SecretLine::Step::gaveUp;
        else if (awaited[1].revents != 0)
            takeSignal(question);
        else if (awaited[0].revents != 0)
            step = takeInput(line, (awaited[0].revents & POLLHUP) != 0);
    }
    show();
    platform::writeAll(terminal_, "\n");
    if (step == SecretLine::Step::isTooLong) throw CompanionError("the answer is too long for a token");
    const auto answer = platform::trimmed(line.text());
    if (step == SecretLine::Step::gaveUp || answer.empty())
        throw CompanionError("nothing was entered; nothing was changed");
    return std::string(answer);
}

void SecretPrompt::say(std::string_view line) const {
    platform::writeAll(terminal_, std::string(line).append("\n"));
}

SecretLine::Step SecretPrompt::takeInput(SecretLine& line, bool isHungUp) {
    // A byte at a time: what follows an answer belongs to the next.
    char byte = 0;
    const auto length = ::read(terminal_, &byte, 1);
    if (length < 0 && errno == EINTR) return SecretLine::Step::goesOn;
    // A key that sends a signal takes back what was typed ahead of it.
    if (length == 0 && !isHungUp) return SecretLine::Step::goesOn;
    return length == 1 ? line.take(byte) : SecretLine::Step::gaveUp;
}

void SecretPrompt::takeSignal(std::string_view question) {
    signalfd_siginfo info = {};
    if (::read(signals_, &info, sizeof info) != sizeof info) return;
    const int signal = static_cast<int>(info.ssi_signo);
    show();
    platform::writeAll(terminal_, "\n");
    ::tcflush(terminal_, TCIFLUSH);
    sigset_t one;
    ::sigemptyset(&one);
    ::sigaddset(&one, signal);
    ::raise(signal);
    // Ends or stops the process here.
    ::pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
    ::pthread_sigmask(SIG_BLOCK, &one, nullptr);
    hide();
    platform::writeAll(terminal_, question);
}

void SecretPrompt::hide() {
    if (!awaitForeground(terminal_) || ::tcgetattr(terminal_, &modes_) != 0)
        throw CompanionError("the terminal is gone; nothing was changed");
    termios hidden = modes_;
    // The keys that send signals go on doing so. A whole line at a time would be cut at 4096 bytes.
    hidden.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ECHOE | ECHOK | ECHONL | IEXTEN);
    hidden.c_iflag &= ~static_cast<tcflag_t>(IXON);
    // A read never waits: signals are heard between reads alone.
    hidden.c_cc[VMIN] = 0;
    hidden.c_cc[VTIME] = 0;
    if (::tcsetattr(terminal_, TCSADRAIN, &hidden) != 0)
        throw CompanionError("the terminal cannot be kept from showing what is typed");
    platform::writeAll(terminal_, markPastes);
}

void SecretPrompt::show() {
    platform::writeAll(terminal_, leavePastes);
    ::tcsetattr(terminal_, TCSADRAIN, &modes_);
}

}  // namespace host
