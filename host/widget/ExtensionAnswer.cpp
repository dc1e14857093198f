// SPDX-License-Identifier: Apache-2.0

#include "host/widget/ExtensionAnswer.hpp"

namespace host {

namespace {

template <typename Read>
auto readMember(const Message& answer, std::string_view name, Read read) {
    const auto* value = answer.body.if_contains(name);
    if (!value) throw ExtensionError("the extension's answer has no " + std::string(name));
    try {
        return read(*value);
    } catch (const EntryCodingError& error) {
        throw ExtensionError(std::string("the extension's answer cannot be used: ") + error.what());
    } catch (const ProtocolError& error) {
        throw ExtensionError(std::string("the extension's answer cannot be used: ") + error.what());
    }
}

std::string_view beginning(widget::DrawingFormat format) {
    switch (format) {
        case widget::DrawingFormat::png: return "\x89PNG\r\n\x1a\n";
        case widget::DrawingFormat::svg: return "<";
        case widget::DrawingFormat::tree: return "{";
        case widget::DrawingFormat::text: return "";
    }
    return "";
}

/// A text may begin in any way, and is of whole lines.
std::string_view end(widget::DrawingFormat format) {
    return format == widget::DrawingFormat::text ? "\n" : "";
}

}  // namespace

Declaration declarationIn(const Message& answer) {
    return readMember(answer, "declaration", declarationFromValue);
}

widget::SimpleEntry entryIn(const Message& answer) {
    return readMember(answer, "entry", entryFromValue);
}

platform::Timeline<widget::SimpleEntry> timelineIn(const Message& answer) {
    auto timeline = readMember(answer, "timeline", timelineFromValue);
    if (timeline.entries.empty()) throw ExtensionError("the extension's timeline has no entry");
    return timeline;
}

widget::FetchOutcome outcomeIn(const Message& answer) {
    return readMember(answer, "outcome", outcomeFromValue);
}

widget::CredentialReport credentialsIn(const Message& answer) {
    return readMember(answer, "credentials", credentialsFromValue);
}

bool wantsNotificationsIn(const Message& answer) {
    return readMember(answer, "settings", [](const boost::json::value& settings) {
        const auto* wants =
            settings.is_object() ? settings.get_object().if_contains("notifications") : nullptr;
        if (!wants || !wants->is_bool()) throw ProtocolError("notifications must be true or false");
        return wants->get_bool();
    });
}

widget::Diagnosis diagnosisIn(const Message& answer) {
    return readMember(answer, "diagnosis", diagnosisFromValue);
}

std::string drawingIn(Message answer, widget::DrawingFormat format) {
    if (!answer.attachment.starts_with(beginning(format)) || !answer.attachment.ends_with(end(format)))
        throw ExtensionError("the extension sent no drawing of the format asked for");
    return std::move(answer.attachment);
}

}  // namespace host
