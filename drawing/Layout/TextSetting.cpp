// SPDX-License-Identifier: Apache-2.0

#include "drawing/Layout/TextSetting.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <vector>

namespace drawing {
namespace {

int linesWithin(std::optional<double> height, int limit, const FontMetrics& font) {
    if (!height || !std::isfinite(*height)) return limit;
    const int fitting = std::max(1, static_cast<int>((*height + tolerance) / font.lineHeight));
    return limit == 0 ? fitting : std::min(limit, fitting);
}

std::size_t lineCount(TextRun run, double width, const TextMeasurer& measurer) {
    run.lineLimit = 0;
    return measurer.lines(run, width).size();
}

bool isShownWhole(const TextRun& run, double width, const TextMeasurer& measurer) {
    return run.lineLimit == 0 || lineCount(run, width, measurer) <= static_cast<std::size_t>(run.lineLimit);
}

/// The largest scale, down to the least one, at which the text is shown whole; 1 where there is none.
double scaleThatFits(TextRun run, double width, double least, const TextMeasurer& measurer) {
    constexpr double step = 0.02;
    if (least == 1) return 1;
    for (; run.scale > least + tolerance; run.scale -= step) {
        if (isShownWhole(run, width, measurer)) return run.scale;
    }
    run.scale = least;
    return isShownWhole(run, width, measurer) ? least : 1;
}

/// The inherited part is one of the design's size where the text is smaller than that.
double leastScale(const InheritedValues& inherited, TextSize size) {
    return std::min(1.0, inherited.minimumScaleFactor.value_or(1) / std::min(1.0, factor(size)));
}

bool breakWords(const std::vector<TextLine>& lines) {
    return std::any_of(lines.begin(), lines.end(), [](const TextLine& line) { return line.breaksWord; });
}

/// The least width, to a point, in which the text has no more lines than these and breaks no word.
double balancedWidth(TextRun run, double width, const std::vector<TextLine>& lines,
                     const TextMeasurer& measurer) {
    if (breakWords(lines)) return width;
    run.lineLimit = 0;
    double tooNarrow = width / static_cast<double>(lines.size()) / 2;
    while (width - tooNarrow > 1) {
        const double middle = (tooNarrow + width) / 2;
        const std::vector<TextLine> narrower = measurer.lines(run, middle);
        const bool fits = narrower.size() <= lines.size() && !breakWords(narrower);
        (fits ? width : tooNarrow) = middle;
    }
    return width;
}

/// Whether less than the whole is seen. A text that has been enlarged must not lose its words' shape either:
/// there are smaller sizes to try.
bool isCut(const TextRun& run, double width, const TextMeasurer& measurer) {
    if (!isShownWhole(run, width, measurer)) return true;
    return isEnlarged(run.textSize) && breakWords(measurer.lines(run, width));
}

}  // namespace

TextSetting setText(const std::string& words, const Proposal& proposal, const InheritedValues& inherited,
                    const TextMeasurer& measurer) {
    const TextStyle style = inherited.font.value_or(TextStyle::body);
    const TextSize textSize = inherited.textSize.value_or(TextSize::large);
    const FontMetrics font = metrics(style, textSize);
    TextSetting setting = {
        .size = {0, font.lineHeight},
        .lineLimit = linesWithin(proposal.height, inherited.lineLimit.value_or(0), font),
    };
    if (proposal.width && *proposal.width <= 0) return setting;

    const std::optional<double> width =
        proposal.width && std::isfinite(*proposal.width) ? proposal.width : std::nullopt;
    TextRun run{words, style, inherited.fontWeight.value_or(font.weight), setting.lineLimit};
    run.textSize = textSize;
    if (width) run.scale = scaleThatFits(run, *width, leastScale(inherited, textSize), measurer);
    setting.scale = run.scale;
    setting.isCut = inherited.isWantedWhole.value_or(false) && width && isCut(run, *width, measurer);
    std::vector<TextLine> lines = measurer.lines(run, width);
    setting.direction = lines.front().direction;
    if (width && lines.size() > 1 && isShownWhole(run, *width, measurer)) {
        lines = measurer.lines(run, balancedWidth(run, *width, lines, measurer));
    }
    setting.size.height = font.lineHeight * static_cast<double>(lines.size());
    for (const TextLine& line : lines) setting.size.width = std::max(setting.size.width, line.width);
    if (width) setting.size.width = std::min(setting.size.width, *width);
    return setting;
}

}  // namespace drawing
