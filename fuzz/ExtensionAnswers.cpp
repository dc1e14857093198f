// SPDX-License-Identifier: Apache-2.0

// What the extension sends, as its host reads it, and a live host, as its readers do: frames, entries,
// timelines, outcomes and states, down to the lines of a terminal.

#include <string>

#include "fuzz/Conversation.hpp"
#include "fuzz/Require.hpp"
#include "fuzz/SameValue.hpp"
#include "host/protocol/EntryCoding.hpp"
#include "host/protocol/LiveCoding.hpp"
#include "host/reader/TerminalText.hpp"
#include "host/widget/ExtensionAnswer.hpp"
#include "host/widget/TerminalView.hpp"
#include "platform/JSON/JSONSerialization.hpp"
#include "platform/Text/Text.hpp"

namespace {

/// `text` without the sequences that a view's own style puts around it: colours, and the marks of links.
std::string withoutStyle(std::string_view text) {
    std::string plain;
    while (!text.empty()) {
        std::size_t length = 0;
        if (text.starts_with("\x1b[")) length = text.find('m') + 1;
        if (text.starts_with("\x1b]8;;")) length = text.find("\x1b\\") + 2;
        if (length == 0) plain.push_back(text.front());
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return plain;
}

bool isObeyed(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

void view(const widget::SimpleEntry& entry) {
    using namespace host;
    for (const TerminalStyle& style : {TerminalStyle{.columns = 40}, TerminalStyle{.columns = 1,
                                                                     .color = TerminalColor::trueColor,
                                                                     .links = TerminalLinks::hyperlinks}}) {
        std::string text = terminalView(entry, style);
        require(platform::isValidUTF8(text), "what a terminal is given is UTF-8");
        require(text.find("\u009b") == std::string::npos, "no C1 control reaches the terminal");
        for (std::string_view rest = text = withoutStyle(text); !rest.empty();) {
            const auto line = rest.substr(0, rest.find('\n'));
            for (const char c : line) require(!isObeyed(c), "no control character reaches the terminal");
            require(style.links == TerminalLinks::written || platform::terminalColumns(line) <= 10,
                    "no line is wider than the terminal");
            rest.remove_prefix(std::min(rest.size(), line.size() + 1));
        }
    }
}

template <typename Read>
void readMember(const host::Message& message, Read read) {
    try {
        read(message);
    } catch (const host::ExtensionError&) {
    }
}

void readEntry(const host::Message& message) {
    const auto entry = host::entryIn(message);
    const auto object = host::entryObject(entry);
    require(host::entryObject(host::entryFromValue(object)) == object,
            "an entry reads back as it was written");
    view(entry);
}

void readTimeline(const host::Message& message) {
    const auto timeline = host::timelineIn(message);
    const auto object = host::timelineObject(timeline);
    require(host::timelineObject(host::timelineFromValue(object)) == object,
            "a timeline reads back as it was written");
    require(!timeline.entries.empty(), "a timeline has an entry");
    view(timeline.entries.front());
    const auto printed = host::terminalSafeJSON(platform::JSONSerialization::dataWithJSONObject(object));
    for (const char c : printed) require(!isObeyed(c), "no control character is printed");
    require(isSame(platform::JSONSerialization::JSONObjectWithData(printed), object),
            "what is printed says the same");
}

void readDeclaration(const host::Message& message) {
    const auto object = host::declarationObject(host::declarationIn(message));
    require(host::declarationObject(host::declarationFromValue(object)) == object,
            "a declaration reads back as it was written");
}

void readOutcome(const host::Message& message) {
    const auto object = host::outcomeObject(host::outcomeIn(message));
    require(host::outcomeObject(host::outcomeFromValue(object)) == object,
            "an outcome reads back as it was written");
}

void readCredentials(const host::Message& message) {
    const auto object = host::credentialsObject(host::credentialsIn(message));
    require(host::credentialsObject(host::credentialsFromValue(object)) == object,
            "a report reads back as it was written");
}

void readState(const host::Message& message) {
    const auto* value = message.body.if_contains("state");
    if (!value) return;
    try {
        const auto object = host::liveStateObject(host::liveStateFromValue(*value));
        require(host::liveStateObject(host::liveStateFromValue(object)) == object,
                "a state reads back as it was written");
    } catch (const host::EntryCodingError&) {
    } catch (const host::ProtocolError&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    for (const host::Message& message : messagesIn(text(input, size))) {
        readMember(message, readEntry);
        readMember(message, readTimeline);
        readMember(message, readDeclaration);
        readMember(message, readOutcome);
        readMember(message, readCredentials);
        readState(message);
        for (const auto format : {widget::DrawingFormat::png, widget::DrawingFormat::svg,
                                  widget::DrawingFormat::tree, widget::DrawingFormat::text})
            readMember(message, [format](const host::Message& given) { host::drawingIn(given, format); });
    }
    return 0;
}
