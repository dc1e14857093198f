// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Bar/BarFollower.hpp"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <utility>
#include <vector>

#include "host/protocol/HostAddress.hpp"
#include "platform/Files/TrustedFolder.hpp"
#include "platform/Streams/Streams.hpp"

namespace host {

namespace asio = boost::asio;

namespace {

bool tellsClicks(BarFormat format) {
    return format == BarFormat::i3bar || format == BarFormat::i3blocks;
}

std::optional<BarPosition> positionOfPerson() {
    try {
        return BarPosition::ofPerson();
    } catch (const HostAddressError&) {
        return std::nullopt;
    }
}

std::vector<std::filesystem::path> filesOf(const std::optional<BarPosition>& position) {
    if (!position) return {};
    return {position->file()};
}

BarStyle following(BarStyle style) {
    style.isFollowing = true;
    return style;
}

}  // namespace

BarFollower::BarFollower(const asio::any_io_executor& executor, BarStyle style)
    : style_(following(std::move(style))),
      position_(positionOfPerson()),
      lines_(
          executor, [this](const LiveState& state) { return barOutput(content(state), style_); },
          [this](std::string_view why) { return barOutput(contentWithoutHost(why), style_); }),
      positionWatch_(executor, filesOf(position_), [this](std::size_t) { lines_.print(); }),
      opener_(executor) {
    if (tellsClicks(style_.format))
        clicks_.emplace(executor, STDIN_FILENO, StreamWatch::Interest::readable, [this] { readClicks(); });
}

asio::awaitable<void> BarFollower::run() {
    return lines_.run(barOpening(style_.format));
}

BarContent BarFollower::content(const LiveState& state) const {
    return barContent(state, position_ ? position_->read() : 0, platform::Date::now());
}

void BarFollower::readClicks() {
    std::array<char, 4096> bytes;
    const auto length = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    if (length < 0 && errno == EINTR) return;
    if (length <= 0) return clicks_.reset();
    for (const int button : clickReader_.take({bytes.data(), static_cast<std::size_t>(length)}))
        click(button);
}

void BarFollower::click(int button) try {
    const auto shown = content(lines_.state());
    if (button == 1 && !shown.link.empty()) opener_.open(shown.link);
    if (button == 4 && position_) position_->walk(BarPosition::Step::previous, shown.packages.size());
    if (button == 5 && position_) position_->walk(BarPosition::Step::next, shown.packages.size());
    lines_.print();
} catch (const platform::FileError& failure) {
    // A bar that cannot walk on still shows what it has.
    platform::printFailure("vela-widget", failure);
}

}  // namespace host
