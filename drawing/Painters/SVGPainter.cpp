// SPDX-License-Identifier: Apache-2.0

#include "drawing/Painters/SVGPainter.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <vector>

#include "drawing/Painters/JoinedShapes.hpp"
#include "drawing/Painters/Path.hpp"
#include "drawing/Painters/TextPlacement.hpp"
#include "drawing/Writers/PNGWriter.hpp"
#include "platform/Text/Base64.hpp"
#include "platform/Text/Markup.hpp"

namespace drawing {
namespace {

/// What pictures note as their resolution; they are scaled to their frames in any case.
constexpr int bitmapScale = 3;

constexpr std::string_view fontFamily = "Inter, 'Noto Sans', system-ui, sans-serif";

/// Shortest, with three digits after the point at most.
std::string number(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.3f", value);
    std::string shortest = text.data();
    shortest.erase(shortest.find_last_not_of('0') + 1);
    if (shortest.back() == '.') shortest.pop_back();
    return shortest == "-0" ? "0" : shortest;
}

/// For contents and attributes alike. XML 1.0 has no place for most control characters nor for U+FFFE and
/// U+FFFF, escaped or not.
std::string escaped(std::string_view text) {
    std::string possible;
    for (const char character : text) {
        possible += static_cast<unsigned char>(character) < 0x20 ? ' ' : character;
        if (possible.ends_with("\xEF\xBF\xBE") || possible.ends_with("\xEF\xBF\xBF"))
            possible.back() = '\xBD';
    }
    return platform::escapedForMarkup(possible);
}

std::string attribute(std::string_view name, std::string_view value) {
    return std::string(" ").append(name).append("=\"").append(escaped(value)).append("\"");
}
std::string attribute(std::string_view name, double value) {
    return attribute(name, std::string_view(number(value)));
}

std::string frameAttributes(const Rect& frame) {
    return attribute("x", frame.left()) + attribute("y", frame.top()) + attribute("width", frame.size.width) +
           attribute("height", frame.size.height);
}

/// "fill" or "stroke" or "stop-color" with its opacity.
std::string paintAttributes(std::string_view name, RGBA color) {
    std::string attributes = attribute(name, hexadecimal(color));
    if (color.alpha == 255) return attributes;
    const std::string_view opacity = name == "stop-color" ? "stop-opacity"
                                     : name == "stroke"   ? "stroke-opacity"
                                                          : "fill-opacity";
    return attributes + attribute(opacity, color.alpha / 255.0);
}

std::string pathData(const Path& path) {
    const auto pair = [](Point point) { return number(point.x) + " " + number(point.y); };
    std::string data;
    for (const Path::Segment& segment : path.segments) {
        data += (data.empty() ? "M" : "L") + pair(segment.lineTo);
        for (const auto& [first, second, end] : segment.curves) {
            data += "C" + pair(first) + " " + pair(second) + " " + pair(end);
        }
    }
    return data + "Z";
}

std::string shapeData(const Shape& shape) {
    return attribute("d", pathData(continuousRoundedRectangle(shape.frame, shape.cornerRadius)));
}

bool holdsMiddle(const Rect& outer, const Rect& inner) {
    const double x = inner.left() + inner.size.width / 2;
    const double y = inner.top() + inner.size.height / 2;
    return x >= outer.left() && x <= outer.right() && y >= outer.top() && y <= outer.bottom();
}

/// Everything that is said of these parts of a picture, a sentence each.
std::string sentences(const std::vector<SpokenPart>& parts) {
    std::string words;
    for (const SpokenPart& part : parts) {
        if (part.words.empty()) continue;
        if (!words.empty()) words += words.ends_with('.') ? " " : ". ";
        words += part.words;
    }
    return words;
}

/// What is said of the picture within a frame, else of a part around it.
std::vector<SpokenPart> spokenOf(const std::vector<SpokenPart>& parts, const Rect& frame) {
    std::vector<SpokenPart> found;
    const auto add = [&](auto concerns) { std::ranges::copy_if(parts, std::back_inserter(found), concerns); };
    add([&](const SpokenPart& part) { return holdsMiddle(frame, part.frame); });
    if (found.empty()) add([&](const SpokenPart& part) { return holdsMiddle(part.frame, frame); });
    return found;
}

/// What a browser would run or open as a page of its own making.
bool isHarmless(const platform::URL& url) {
    constexpr std::array harmful = {"javascript", "vbscript", "data", "blob"};
    return std::find(harmful.begin(), harmful.end(), url.scheme()) == harmful.end();
}

/// Stands where the drawing's own name belongs until that is known; nothing else that is written has it.
constexpr char nameMark = '\x1A';

/// An attribute that makes an identifier or refers to one.
std::string nameAttribute(std::string_view attributeName, std::string_view before, std::string_view name,
                          std::string_view after) {
    std::string text = " ";
    for (const std::string_view part : {attributeName, std::string_view("=\""), before, name, after})
        text += part;
    return text + '"';
}

/// Several drawings may stand in one page, so the identifiers of each carry a name made of its contents: the
/// FNV-1a hash of 64 bits. The same drawing has the same.
std::string named(std::string_view document) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char character : document) {
        hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001B3;
    }
    std::array<char, 32> name{};
    std::snprintf(name.data(), name.size(), "drawing-%016llx-", static_cast<unsigned long long>(hash));
    std::string text;
    text.reserve(document.size() + 1024);
    for (auto mark = document.find(nameMark); mark != std::string_view::npos;
         mark = document.find(nameMark)) {
        text.append(document.substr(0, mark)).append(name.data());
        document.remove_prefix(mark + 1);
    }
    return text.append(document);
}

class SVGPainter {
  public:
    SVGPainter(const DisplayList& list, const Ink& ink, const TextMeasurer& measurer)
        : list_(list), ink_(ink), measurer_(measurer) {}

    std::string document(std::string_view title) {
        forEachJoined(list_.items, [&](std::span<const DisplayItem> joined) { paint(joined); });
        std::vector<DisplayLink> links = list_.links;
        std::erase_if(links, [](const DisplayLink& link) { return !isHarmless(link.url); });

        const Rect& frame = list_.container.frame;
        const std::string titleName = nameMark + std::string("title");
        const std::string descriptionName = nameMark + std::string("description");
        std::string container = "<g>";
        if (list_.container.cornerRadius > 0) container = "<g" + clipAttribute(list_.container) + ">";
        // What can be opened is hidden within an image; the words of a group are those of its parts.
        const bool isGroup = !links.empty();
        std::string spoken;
        for (const SpokenPart& part : list_.spoken) {
            if (isGroup && isSpokenByNone(links, part)) spoken += spokenGroup(part);
        }
        for (const DisplayLink& link : links) spoken += linkOver(link);
        const std::string_view described = isGroup ? "" : " ";
        return named(
            "<svg xmlns=\"http://www.w3.org/2000/svg\"" + attribute("width", frame.size.width) +
            attribute("height", frame.size.height) +
            attribute("viewBox", "0 0 " + number(frame.size.width) + " " + number(frame.size.height)) +
            attribute("role", isGroup ? "group" : "img") +
            nameAttribute("aria-labelledby", titleName, described, isGroup ? "" : descriptionName) + ">\n" +
            "<title" + nameAttribute("id", "", titleName, "") + ">" + escaped(title) + "</title>\n" +  //
            "<desc" + nameAttribute("id", "", descriptionName, "") + ">" + escaped(sentences(list_.spoken)) +
            "</desc>\n" + "<defs>\n" + definitions_ + "</defs>\n" + container +
            "\n<g aria-hidden=\"true\">\n" + body_ + "</g>\n" + spoken + "</g>\n</svg>\n");
    }

  private:
    std::string newName(std::string_view kind) {
        return nameMark + std::string(kind) + std::to_string(++names_);
    }

    std::string clipAttribute(const Shape& shape) {
        const std::string name = newName("clip");
        definitions_ +=
            "<clipPath" + nameAttribute("id", "", name, "") + "><path" + shapeData(shape) + "/></clipPath>\n";
        return nameAttribute("clip-path", "url(#", name, ")");
    }

    void paint(std::span<const DisplayItem> joined) {
        const DisplayItem& item = joined.front();
        for (const Shape& clip : item.clips) body_ += "<g" + clipAttribute(clip) + ">";
        if (joined.size() > 1) {
            drawAsOne(joined);
        } else {
            std::visit([&](const auto& kind) { draw(item, kind); }, item.kind);
        }
        for (std::size_t count = item.clips.size(); count > 0; --count) body_ += "</g>";
        body_ += "\n";
    }

    /// A link covers its frame, unseen.
    std::string linkOver(const DisplayLink& link) const {
        return "<a" + attribute("href", link.url.absoluteString()) +
               attribute("aria-label", sentences(spokenOf(list_.spoken, link.frame))) + "><rect" +
               frameAttributes(link.frame) + " fill=\"none\" pointer-events=\"all\"/></a>\n";
    }

    static bool isSpokenByNone(const std::vector<DisplayLink>& links, const SpokenPart& part) {
        return std::ranges::none_of(links, [&](const DisplayLink& link) {
            return holdsMiddle(link.frame, part.frame) || holdsMiddle(part.frame, link.frame);
        });
    }

    static std::string spokenGroup(const SpokenPart& part) {
        return "<g role=\"img\"" + attribute("aria-label", part.words) + "><rect" +
               frameAttributes(part.frame) + " fill=\"none\"/></g>\n";
    }

    void drawAsOne(std::span<const DisplayItem> shapes) {
        const DisplayItem& first = shapes.front();
        const std::optional<RGBA> color =
            ink_.color(std::get<RoundedRectangleItem>(first.kind).color, first.colorScheme);
        if (!color) return;
        std::string data;
        for (const DisplayItem& shape : shapes) {
            data += pathData(continuousRoundedRectangle(
                shape.frame, std::get<RoundedRectangleItem>(shape.kind).cornerRadius));
        }
        body_ += "<path" + attribute("d", data) + paintAttributes("fill", *color) + "/>";
    }

    void draw(const DisplayItem& item, const LinearGradientItem& gradient) {
        const std::string name = newName("gradient");
        std::string stops;
        for (std::size_t index = 0; index < gradient.stops.size(); ++index) {
            const std::optional<RGBA> color = ink_.gradientStop(gradient.stops[index], item.colorScheme);
            if (!color) return;
            const double place = static_cast<double>(index) /
                                 static_cast<double>(std::max<std::size_t>(1, gradient.stops.size() - 1));
            stops += "<stop" + attribute("offset", place) + paintAttributes("stop-color", *color) + "/>";
        }
        definitions_ += "<linearGradient" + nameAttribute("id", "", name, "") +
                        " x1=\"0\" y1=\"0\" x2=\"0\" y2=\"1\">" + stops + "</linearGradient>\n";
        body_ += "<rect" + frameAttributes(item.frame) + nameAttribute("fill", "url(#", name, ")") + "/>";
    }

    void draw(const DisplayItem& item, const RoundedRectangleItem& rectangle) {
        const std::optional<RGBA> color = ink_.color(rectangle.color, item.colorScheme);
        if (!color) return;
        body_ += "<path" + shapeData({item.frame, rectangle.cornerRadius});
        if (rectangle.strokeWidth) {
            body_ += attribute("fill", "none") + paintAttributes("stroke", *color) +
                     attribute("stroke-width", *rectangle.strokeWidth) + "/>";
        } else {
            body_ += paintAttributes("fill", *color) + "/>";
        }
    }

    void draw(const DisplayItem& item, const RectangleItem& rectangle) {
        const std::optional<RGBA> color = ink_.color(rectangle.color, item.colorScheme);
        if (!color) return;
        body_ += "<rect" + frameAttributes(item.frame) + paintAttributes("fill", *color) + "/>";
    }

    void draw(const DisplayItem& item, const TextItem& text) {
        const std::optional<RGBA> color = ink_.color(text.color, item.colorScheme);
        if (!color) return;
        const std::vector<TextLine> lines = measurer_.lines(text.run, item.frame.size.width);
        body_ += "<g" + attribute("font-family", fontFamily) +
                 attribute("font-size", metrics(text.run).pointSize * text.run.scale) +
                 attribute("font-weight", drawing::number(text.run.weight)) +
                 paintAttributes("fill", *color) + ">";
        for (std::size_t index = 0; index < lines.size(); ++index) {
            const TextLine& line = lines[index];
            if (line.text.empty()) continue;
            const Point origin = lineOrigin(text, item.frame, list_.layoutDirection, line, index);
            const bool isRightToLeft = line.direction == TextDirection::rightToLeft;
            // The length holds a viewer with other fonts to the room that there is.
            body_ += "<text" + attribute("x", isRightToLeft ? origin.x + line.width : origin.x) +
                     attribute("y", origin.y) + (isRightToLeft ? attribute("direction", "rtl") : "") +
                     (line.language.empty() ? "" : attribute("xml:lang", line.language)) +
                     attribute("textLength", line.width) + attribute("lengthAdjust", "spacingAndGlyphs") +
                     ">" + escaped(line.text) + "</text>";
        }
        body_ += "</g>";
    }

    void draw(const DisplayItem& item, const AssetItem& asset) {
        const Rect& frame = item.frame;
        const VectorImage* drawing = ink_.vector(asset.name);
        if (!drawing) return;
        const double factor =
            std::min(frame.size.width / drawing->width, frame.size.height / drawing->height);
        const double x = frame.left() + (frame.size.width - drawing->width * factor) / 2;
        const double y = frame.top() + (frame.size.height - drawing->height * factor) / 2;
        body_ += "<g" +
                 attribute("transform",
                           "translate(" + number(x) + " " + number(y) + ") scale(" + number(factor) + ")") +
                 ">";
        for (const FilledPath& path : drawing->paths) {
            body_ += "<path" + attribute("d", path.data) + paintAttributes("fill", ink_.fill(path)) + "/>";
        }
        body_ += "</g>";
    }

    void draw(const DisplayItem& item, const PictureItem& picture) {
        if (ink_.tint) {
            show(ink_.picture(*picture.bitmap, item.colorScheme), item.frame);
        } else {
            show(*picture.bitmap, item.frame);
        }
    }

    void show(const Bitmap& bitmap, const Rect& frame) {
        body_ +=
            "<image" + frameAttributes(frame) +
            attribute("href", "data:image/png;base64," + platform::base64(encodedPNG(bitmap, bitmapScale))) +
            "/>";
    }

    const DisplayList& list_;
    const Ink& ink_;
    const TextMeasurer& measurer_;
    int names_ = 0;
    std::string definitions_;
    std::string body_;
};

}  // namespace

std::string paintedSVG(const DisplayList& list, std::string_view title, const Ink& ink,
                       const TextMeasurer& measurer) {
    return SVGPainter(list, ink, measurer).document(title);
}

}  // namespace drawing
