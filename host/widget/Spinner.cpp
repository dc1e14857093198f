// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Spinner.hpp"

#include <unistd.h>

#include <array>
#include <chrono>
#include <string_view>

#include "host/widget/TerminalStyle.hpp"

namespace host {

namespace {

constexpr std::array<std::string_view, 10> frames = {"⠋", "⠙", "⠹", "⠸", "⠼", "⠴", "⠦", "⠧", "⠇", "⠏"};
constexpr std::chrono::milliseconds patience(150);
constexpr std::chrono::milliseconds turn(80);

}  // namespace

std::shared_ptr<Spinner> Spinner::start(const boost::asio::any_io_executor& executor, int descriptor,
                                        std::string caption) {
    const std::shared_ptr<Spinner> spinner(new Spinner(executor, descriptor, std::move(caption)));
    if (isCapableTerminal(descriptor)) spinner->turnLater(patience);
    return spinner;
}

Spinner::Spinner(const boost::asio::any_io_executor& executor, int descriptor, std::string caption)
    : timer_(executor), descriptor_(descriptor), caption_(std::move(caption)) {}

void Spinner::turnLater(std::chrono::milliseconds delay) {
    timer_.expires_after(delay);
    timer_.async_wait([self = shared_from_this()](const boost::system::error_code& error) {
        if (error || self->isStopped_) return;
        self->write("\r\x1b[2K" + std::string(frames[self->frame_++ % frames.size()]) + " " + self->caption_);
        self->isShown_ = true;
        self->turnLater(turn);
    });
}

void Spinner::makeRoom() {
    if (isShown_) write("\r\x1b[2K");
    isShown_ = false;
}

void Spinner::stop() {
    isStopped_ = true;
    timer_.cancel();
    makeRoom();
}

void Spinner::write(const std::string& text) const {
    // A sign of life that cannot be written is none; there is nothing to be done about it.
    [[maybe_unused]] const auto written = ::write(descriptor_, text.data(), text.size());
}

}  // namespace host
