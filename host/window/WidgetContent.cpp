// SPDX-License-Identifier: Apache-2.0

#include "host/window/WidgetContent.hpp"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <utility>

#include "platform/JSON/JSONSerialization.hpp"

namespace host {

namespace {

namespace json = boost::json;

[[noreturn]] void refuseTree(const std::string& complaint) {
    throw WidgetContentError("the drawing's tree " + complaint);
}

const json::value& member(const json::value& value, std::string_view key) {
    const auto* object = value.if_object();
    const auto* found = object ? object->if_contains(key) : nullptr;
    if (!found) refuseTree("has no " + std::string(key));
    return *found;
}

double lengthIn(const json::value& value, std::string_view key) {
    const auto& length = member(value, key);
    if (!length.is_number()) refuseTree("has a length that is no number");
    return length.to_number<double>();
}

drawing::Rect frameIn(const json::value& value) {
    return {{lengthIn(value, "x"), lengthIn(value, "y")},
            {lengthIn(value, "width"), lengthIn(value, "height")}};
}

const json::array& arrayIn(const json::value& value, std::string_view key) {
    const auto* array = member(value, key).if_array();
    if (!array) refuseTree("has no list of " + std::string(key));
    return *array;
}

std::string textIn(const json::value& value, std::string_view key) {
    const auto* text = member(value, key).if_string();
    if (!text) refuseTree("has no text as " + std::string(key));
    return std::string(*text);
}

struct PlacedText {
    drawing::Rect frame;
    std::string text;
    bool isTaken = false;
};

struct TreeParts {
    drawing::Rect whole;
    WidgetContent links;
    std::vector<PlacedText> texts;
};

TreeParts partsOf(std::string_view tree) try {
    const auto root = platform::JSONSerialization::JSONObjectWithData(tree);
    const auto& size = member(root, "size");
    TreeParts parts;
    parts.whole.size = {lengthIn(size, "width"), lengthIn(size, "height")};
    for (const auto& link : arrayIn(root, "links"))
        parts.links.push_back(
            {.frame = frameIn(member(link, "frame")), .words = {}, .link = textIn(link, "url")});
    for (const auto& item : arrayIn(root, "items"))
        if (member(item, "kind") == "text")
            parts.texts.push_back({frameIn(member(item, "frame")), textIn(item, "text")});
    return parts;
} catch (const platform::JSONError& error) {
    throw WidgetContentError(std::string("the drawing's tree is no JSON: ") + error.what());
}

bool contains(const drawing::Rect& frame, drawing::Point point) {
    return point.x >= frame.left() && point.x < frame.right() && point.y >= frame.top() &&
           point.y < frame.bottom();
}

drawing::Point middleOf(const drawing::Rect& frame) {
    return {(frame.left() + frame.right()) / 2, (frame.top() + frame.bottom()) / 2};
}

void addSentence(std::string& words, std::string_view sentence) {
    if (!words.empty()) words += words.ends_with('.') ? " " : ". ";
    words += sentence;
}

PlacedText* textSaying(std::vector<PlacedText>& texts, std::string_view line) {
    const auto found = std::ranges::find_if(
        texts, [line](const PlacedText& text) { return !text.isTaken && text.text == line; });
    if (found == texts.end()) return nullptr;
    found->isTaken = true;
    return &*found;
}

/// Spoken lines come in the order of what they are said of: a text by its own words, a package, which has a
/// link, by a sentence that stands nowhere in the picture.
class SpokenPlaces {
  public:
    explicit SpokenPlaces(TreeParts& parts) : parts_(parts) {}

    void take(std::string_view line) {
        const auto* text = textSaying(parts_.texts, line);
        if (!text && next_ < parts_.links.size()) return say(parts_.links[next_++], line);
        const auto frame = text ? text->frame : parts_.whole;
        const auto link = std::ranges::find_if(parts_.links, [&](const WidgetSpot& each) {
            return text && contains(each.frame, middleOf(frame));
        });
        if (link != parts_.links.end()) {
            next_ = std::max(next_, static_cast<std::size_t>(link - parts_.links.begin()) + 1);
            return say(*link, line);
        }
        spots_.push_back({.frame = frame, .words = std::string(line)});
    }

    WidgetContent inOrder() && {
        // Texts and links as they stand beneath each other.
        for (auto& link : parts_.links) spots_.push_back(std::move(link));
        std::ranges::stable_sort(spots_, {}, [](const WidgetSpot& spot) { return spot.frame.top(); });
        return std::move(spots_);
    }

  private:
    static void say(WidgetSpot& spot, std::string_view line) { addSentence(spot.words, line); }

    TreeParts& parts_;
    std::size_t next_ = 0;
    WidgetContent spots_;
};

/// A link that nothing is said of is at least known by the texts within it.
void nameBySight(WidgetContent& links, const std::vector<PlacedText>& texts) {
    for (auto& link : links)
        for (const auto& text : texts)
            if (link.words.empty() && contains(link.frame, middleOf(text.frame))) link.words = text.text;
}

}  // namespace

WidgetContent widgetContent(std::string_view tree, std::string_view text,
                            const std::optional<std::string>& wholeLink) {
    auto parts = partsOf(tree);
    if (parts.links.empty() && wholeLink)
        parts.links.push_back({.frame = parts.whole, .words = {}, .link = *wholeLink});
    SpokenPlaces places(parts);
    while (!text.empty()) {
        const auto line = text.substr(0, text.find('\n'));
        if (!line.empty()) places.take(line);
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    nameBySight(parts.links, parts.texts);
    return std::move(places).inOrder();
}

std::optional<std::string> linkAt(const WidgetContent& content, drawing::Point point) {
    const auto found = std::find_if(content.rbegin(), content.rend(), [point](const WidgetSpot& spot) {
        return spot.link && contains(spot.frame, point);
    });
    return found == content.rend() ? std::nullopt : found->link;
}

}  // namespace host
