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
    for (; run.scale > least - tolerance; run.scale -= step) {
        if (least == 1 || isShownWhole(run, width, measurer)) return run.scale;
    }
    return 1;
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

}  // namespace

TextSetting setText(const std::string& words, const Proposal& proposal, const InheritedValues& inherited,
                    const TextMeasurer& measurer) {
    const TextStyle style = inherited.font.value_or(TextStyle::body);
    const FontMetrics font = metrics(style);
    TextSetting setting = {
        .size = {0, font.lineHeight},
        .lineLimit = linesWithin(proposal.height, inherited.lineLimit.value_or(0), font),
    };
    if (proposal.width && *proposal.width <= 0) return setting;

    const std::optional<double> width =
        proposal.width && std::isfinite(*proposal.width) ? proposal.width : std::nullopt;
    TextRun run{words, style, inherited.fontWeight.value_or(font.weight), setting.lineLimit};
    if (width) run.scale = scaleThatFits(run, *width, inherited.minimumScaleFactor.value_or(1), measurer);
    setting.scale = run.scale;
    setting.isCut = inherited.isWantedWhole.value_or(false) && width && !isShownWhole(run, *width, measurer);
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
