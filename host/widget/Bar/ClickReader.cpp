// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Bar/ClickReader.hpp"

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <optional>
#include <utility>

#include "platform/JSON/JSONSerialization.hpp"

namespace host {

namespace {

std::optional<int> buttonIn(const std::string& object) {
    try {
        const auto value = platform::JSONSerialization::JSONObjectWithData(object);
        const auto* button = value.is_object() ? value.get_object().if_contains("button") : nullptr;
        if (button && button->is_int64()) return static_cast<int>(button->get_int64());
    } catch (const platform::JSONError&) {
        // A click that nobody can read is none.
    }
    return std::nullopt;
}

}  // namespace

std::vector<int> ClickReader::take(std::string_view bytes) {
    std::vector<int> buttons;
    for (const char byte : bytes) takeByte(byte, buttons);
    return buttons;
}

void ClickReader::takeByte(char byte, std::vector<int>& buttons) {
    if (depth_ > 0) return takeWithinObject(byte, buttons);
    if (byte == '{') {
        depth_ = 1;
        text_ = "{";
    } else if (byte >= '1' && byte <= '9' && text_.empty()) {
        text_ = byte;
    } else if (byte == '\n') {
        if (text_.size() == 1) buttons.push_back(text_[0] - '0');
        text_.clear();
    } else {
        // No number of one digit.
        text_ = byte == ' ' || byte == '\r' || byte == ',' || byte == '[' ? std::move(text_) : "??";
    }
}

void ClickReader::takeWithinObject(char byte, std::vector<int>& buttons) {
    if (text_.size() < longestClick) text_ += byte;
    if (isWithinString_) {
        if (!std::exchange(isEscaped_, !isEscaped_ && byte == '\\') && byte == '"') isWithinString_ = false;
        return;
    }
    if (byte == '"') isWithinString_ = true;
    if (byte == '{') ++depth_;
    if (byte != '}' || --depth_ > 0) return;
    if (const auto button = buttonIn(std::exchange(text_, {}))) buttons.push_back(*button);
}

}  // namespace host
