// SPDX-License-Identifier: Apache-2.0

#include "tests/drawing/DisplayText.hpp"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace drawing_tests {

using namespace drawing;

namespace {

std::string placed(const std::string& what, const Rect& frame) {
    std::ostringstream line;
    const auto rounded = [](double length) { return std::round(length * 100) / 100 + 0.0; };
    line << what << ' ' << rounded(frame.left()) << ' ' << rounded(frame.top()) << ' '
         << rounded(frame.size.width) << ' ' << rounded(frame.size.height);
    return line.str();
}

std::string named(const LinearGradientItem& gradient) {
    std::string stops = "linearGradient";
    for (const Color& color : gradient.stops) stops += " " + color.name();
    return stops;
}
std::string named(const RoundedRectangleItem& rectangle) {
    return (rectangle.strokeWidth ? "stroke " : "roundedRectangle ") + rectangle.color.name();
}
std::string named(const RectangleItem& rectangle) {
    return "rectangle " + rectangle.color.name();
}
std::string named(const TextItem& text) {
    return "text " + text.run.text;
}
std::string named(const AssetItem& asset) {
    return "image " + asset.name;
}
std::string named(const PictureItem& picture) {
    return "image " + picture.url.absoluteString();
}

}  // namespace

std::vector<TextLine> FixedAdvance::lines(const TextRun& run, std::optional<double> width) const {
    const double advance = metrics(run).pointSize * run.scale / 2;
    const std::size_t longest =
        width ? std::max<std::size_t>(1, static_cast<std::size_t>(*width / advance + 1e-6)) : run.text.size();
    const bool isHebrew = run.text.starts_with('\xD7');
    const auto direction = isHebrew ? TextDirection::rightToLeft : TextDirection::leftToRight;
    std::vector<TextLine> lines;
    std::string rest = run.text;
    do {
        const bool isLast = run.lineLimit > 0 && lines.size() + 1 == static_cast<std::size_t>(run.lineLimit);
        std::string line = rest.substr(0, longest);
        rest.erase(0, longest);
        if (isLast && !rest.empty()) {
            line.back() = '~';  // the ellipsis
            rest.clear();
        }
        const double length = advance * static_cast<double>(line.size());
        lines.push_back({std::move(line), length, direction});
    } while (!rest.empty());
    return lines;
}

DisplayList displayed(const View& view, Size size, double scale) {
    WidgetContainer container{platform::WidgetFamily::systemSmall, ColorScheme::light, size};
    container.scale = scale;
    return displayList(view, container, FixedAdvance());
}

std::vector<std::string> lines(const DisplayList& list) {
    std::vector<std::string> lines;
    for (const DisplayItem& item : list.items) {
        lines.push_back(
            placed(std::visit([](const auto& kind) { return named(kind); }, item.kind), item.frame));
    }
    for (const DisplayLink& link : list.links) {
        lines.push_back(placed("link " + link.url.absoluteString(), link.frame));
    }
    return lines;
}

std::vector<std::string> linesBeginning(std::string_view begin, const DisplayList& list) {
    std::vector<std::string> matching = lines(list);
    std::erase_if(matching, [&](const std::string& line) { return line.substr(0, begin.size()) != begin; });
    return matching;
}

}  // namespace drawing_tests
