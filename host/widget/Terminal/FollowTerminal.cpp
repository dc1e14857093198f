// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Terminal/FollowTerminal.hpp"

#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <cerrno>
#include <chrono>
#include <utility>

#include "platform/Asio/Coroutines.hpp"

namespace host {

namespace asio = boost::asio;

namespace {

/// Within which the rest of a key's sequence follows its escape, also over a slow line.
constexpr std::chrono::milliseconds escapePatience(100);

}  // namespace

FollowTerminal::FollowTerminal(const asio::any_io_executor& executor)
    : end_(executor, asio::steady_timer::time_point::max()),
      client_(executor),
      escape_(executor,
              [this] {
                  for (const auto key : keys_.decide()) press(key);
              }),
      opener_(executor, [this](bool isOpen) { say(isOpen ? "Opened" : "The link could not be opened"); }),
      signals_(executor, SIGWINCH, SIGTSTP, SIGCONT),
      keyWatch_(executor, STDIN_FILENO, StreamWatch::Interest::readable, [this] { readKeys(); }) {}

asio::awaitable<void> FollowTerminal::run() {
    draw();
    awaitSignal();
    platform::spawn(end_.get_executor(), follow(),
                    [this](const std::exception_ptr& failure) { end(failure); });
    boost::system::error_code ignored;
    co_await end_.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    client_.close();
    terminal_.leave();
    if (failure_) std::rethrow_exception(failure_);
}

asio::awaitable<void> FollowTerminal::follow() {
    co_await client_.follow([this](const LiveState& state) { take(state); },
                            [this](std::string_view why) { lose(why); });
}

void FollowTerminal::awaitSignal() {
    signals_.async_wait([this](const boost::system::error_code& error, int signal) {
        if (error) return;
        if (signal == SIGTSTP) suspend();
        // A shell has set the terminal as it likes it.
        if (signal != SIGWINCH) terminal_.enter();
        draw();
        awaitSignal();
    });
}

void FollowTerminal::suspend() {
    terminal_.leave();
    signals_.remove(SIGTSTP);
    // Stops here, unless nobody could continue it.
    ::raise(SIGTSTP);
    signals_.add(SIGTSTP);
}

void FollowTerminal::readKeys() {
    std::array<char, 256> bytes;
    const auto length = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    if (length < 0 && errno == EINTR) return;
    if (length <= 0) return end();
    escape_.clear();
    for (const auto key : keys_.take({bytes.data(), static_cast<std::size_t>(length)})) press(key);
    if (keys_.isUndecided()) escape_.set(escapePatience);
}

/// Where not all of it is on the screen. Any other key ends the help.
bool FollowTerminal::scrollsHelp(Key key) {
    if (!view_.showsHelp || helpEnd_ == 0) return false;
    auto& top = view_.helpTop;
    switch (key) {
        case Key::up: top -= std::min<std::size_t>(top, 1); break;
        case Key::down: ++top; break;
        case Key::pageUp: top -= std::min(top, helpPage_); break;
        case Key::pageDown: top += helpPage_; break;
        case Key::first: top = 0; break;
        case Key::last: top = helpEnd_; break;
        case Key::open:
        case Key::copy:
        case Key::reload:
        case Key::help:
        case Key::redraw:
        case Key::quit: return false;
    }
    view_.note.clear();
    draw();
    return true;
}

void FollowTerminal::press(Key key) {
    if (scrollsHelp(key)) return;
    const bool hadHelp = std::exchange(view_.showsHelp, false);
    view_.note.clear();
    switch (key) {
        case Key::up: choose(view_.chosen - std::min<std::size_t>(view_.chosen, 1)); break;
        case Key::down: choose(view_.chosen + 1); break;
        case Key::pageUp: choose(view_.chosen - std::min(view_.chosen, page_)); break;
        case Key::pageDown: choose(view_.chosen + page_); break;
        case Key::first: choose(0); break;
        case Key::last: choose(packagesShown(shown_.state()).size()); break;
        case Key::open:
            if (const auto link = linkShown(shown_.state(), view_.chosen)) {
                view_.note = "Opening";
                opener_.open(*link);
            }
            break;
        case Key::copy:
            if (const auto link = linkShown(shown_.state(), view_.chosen)) {
                terminal_.write(clipboardSequence(*link));
                view_.note = "Copied " + *link;
            }
            break;
        case Key::reload:
            view_.note = "Asking the server";
            platform::spawn(end_.get_executor(), reload(),
                            [this](const std::exception_ptr&) { say("The live host gave no answer"); });
            break;
        case Key::help:
            view_.showsHelp = !hadHelp;
            view_.helpTop = 0;
            break;
        case Key::redraw: break;
        case Key::quit: return hadHelp ? draw() : end();
    }
    draw();
}

asio::awaitable<void> FollowTerminal::reload() {
    const auto state = co_await client_.reload();
    view_.note.clear();
    take(state);
}

void FollowTerminal::choose(std::size_t index) {
    const auto count = packagesShown(shown_.state()).size();
    view_.chosen = std::min(index, count == 0 ? 0 : count - 1);
}

/// The chosen package stays the chosen one wherever it moves.
void FollowTerminal::take(const LiveState& state) {
    const auto link = chosenLink();
    shown_.take(state);
    const auto packages = packagesShown(shown_.state());
    // It may tell of a package that is gone, or of the lack of a host.
    if (packages.empty() || !link) view_.note.clear();
    const auto same = std::find_if(packages.begin(), packages.end(), [&](const auto& package) {
        return link && package->deepLinkingUrl().absoluteString() == *link;
    });
    choose(same == packages.end() ? view_.chosen : static_cast<std::size_t>(same - packages.begin()));
    draw();
}

void FollowTerminal::lose(std::string_view why) {
    shown_.lose(platform::Date::now());
    if (shown_.state().isPlaceholder) view_.note = why;
    draw();
}

void FollowTerminal::say(std::string note) {
    view_.note = std::move(note);
    draw();
}

void FollowTerminal::draw() {
    const auto size = terminal_.size();
    auto style = TerminalStyle::ofDescriptor(STDOUT_FILENO);
    style.columns = size.columns;
    const auto screen = followScreen(shown_.state(), view_, style, size.rows, platform::Date::now());
    view_.top = screen.top;
    view_.helpTop = screen.helpTop;
    helpEnd_ = screen.helpEnd;
    helpPage_ = std::max<std::size_t>(screen.lines.size(), 3) - 2;
    page_ = std::max<std::size_t>(screen.count, 1);
    std::string text = "\x1b[H";
    for (std::size_t row = 0; row < screen.lines.size(); ++row)
        // Erased after it, a line that fills its row would lose its last column.
        text.append(row == 0 ? "" : "\r\n").append("\x1b[K").append(screen.lines[row]);
    if (!terminal_.write(text)) end();
}

std::optional<std::string> FollowTerminal::chosenLink() const {
    const auto packages = packagesShown(shown_.state());
    if (view_.chosen >= packages.size()) return std::nullopt;
    return packages[view_.chosen]->deepLinkingUrl().absoluteString();
}

void FollowTerminal::end(std::exception_ptr failure) {
    if (!failure_) failure_ = std::move(failure);
    // Also for whoever begins to wait only now.
    end_.expires_at(asio::steady_timer::time_point::min());
}

}  // namespace host
