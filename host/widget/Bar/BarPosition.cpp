// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Bar/BarPosition.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <string>

#include "host/protocol/HostAddress.hpp"
#include "platform/Files/FileReplacement.hpp"
#include "platform/Files/TrustedFolder.hpp"

namespace host {

using platform::TrustedFolder;

BarPosition BarPosition::ofPerson() {
    return BarPosition(HostAddress::ofPerson().folder.parent_path() / "vela-widget-bar");
}

std::size_t BarPosition::read() const try {
    const auto folder = TrustedFolder::open(folder_);
    const auto file = folder ? folder->openFile(fileName, TrustedFolder::Others::mayRead) : std::nullopt;
    if (!file) return 0;
    std::array<char, 8> digits = {};
    const auto length = ::read(*file, digits.data(), digits.size());
    std::size_t position = 0;
    if (length > 0) std::from_chars(digits.data(), digits.data() + length, position);
    return position;
} catch (const platform::FileError&) {
    return 0;
}

void BarPosition::walk(Step step, std::size_t count) const {
    if (count == 0) return;
    const auto position = std::min(read(), count - 1);
    const auto other = (position + (step == Step::next ? 1 : count - 1)) % count;
    const auto folder = TrustedFolder::make(folder_);
    platform::FileReplacement(folder.descriptor(), file(), std::string(".") + fileName + ".tmp",
                              std::to_string(other) + "\n")
        .commit();
}

}  // namespace host
