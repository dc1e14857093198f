// SPDX-License-Identifier: Apache-2.0

#include "drawing/Layout/Layout.hpp"

#include <algorithm>
#include <cmath>
#include <deque>
#include <unordered_map>

#include "drawing/Layout/StackSharing.hpp"
#include "drawing/Layout/TextSetting.hpp"

namespace drawing {
namespace {

using LayoutPointer = std::shared_ptr<const Layout>;

/// What a shape chooses when it is asked for its ideal size.
constexpr double idealShapeLength = 10;
constexpr double dividerThickness = 1;

double offset(HorizontalAlignment alignment, double room) {
    switch (alignment) {
        case HorizontalAlignment::leading: return 0;
        case HorizontalAlignment::center: return room / 2;
        case HorizontalAlignment::trailing: return room;
    }
    return 0;
}

double offset(VerticalAlignment alignment, double room) {
    switch (alignment) {
        case VerticalAlignment::top: return 0;
        case VerticalAlignment::center: return room / 2;
        case VerticalAlignment::bottom: return room;
    }
    return 0;
}

Point aligned(Size child, Alignment alignment, Size parent) {
    return {offset(alignment.horizontal, parent.width - child.width),
            offset(alignment.vertical, parent.height - child.height)};
}

Size shapeSize(Proposal proposal) {
    return {proposal.width.value_or(idealShapeLength), proposal.height.value_or(idealShapeLength)};
}

/// The width or the height of a size or of a proposal.
template <class Extent>
auto& length(Extent& extent, Axis axis) {
    return axis == Axis::horizontal ? extent.width : extent.height;
}
Axis across(Axis axis) {
    return axis == Axis::horizontal ? Axis::vertical : Axis::horizontal;
}

/// Spacers take what all others leave.
double priority(const View& view) {
    return std::holds_alternative<element::Spacer>(view.element().kind) ? -infinity : 0;
}

/// Of a text with its modifiers.
bool isReadFromRight(const Layout& layout) {
    if (layout.children.size() == 1) return isReadFromRight(*layout.children.front().layout);
    return layout.textDirection == TextDirection::rightToLeft;
}

/// One run of the layout. A stack asks its children several times over; what was answered once is remembered,
/// so that the cost of a tree grows with its size and not with its depth.
class LayoutPass {
  public:
    explicit LayoutPass(const TextMeasurer& measurer) : measurer_(measurer) {}

    LayoutPointer layout(const View& view, Proposal proposal, const InheritedValues& inherited) {
        std::vector<Answer>& answers = answers_[&view.element()];
        for (const Answer& answer : answers) {
            if (answer.proposal == proposal && answer.inherited == inherited) return answer.layout;
        }
        const auto made = std::make_shared<const Layout>(std::visit(
            [&](const auto& kind) {
                return lay({view, proposal, inherited}, kind);
            },
            view.element().kind));
        // Laying out has asked other elements, and the table may have grown.
        answers_[&view.element()].push_back({proposal, inherited, made});
        return made;
    }

  private:
    struct Question {
        const View& view;
        Proposal proposal;
        const InheritedValues& inherited;

        Layout answer(Size size, std::vector<PlacedLayout> children = {}) const {
            Layout answer{view, inherited, size, std::move(children)};
            answer.cutsText = std::any_of(answer.children.begin(), answer.children.end(),
                                          [](const PlacedLayout& child) { return child.layout->cutsText; });
            return answer;
        }
    };
    struct Answer {
        Proposal proposal;
        InheritedValues inherited;
        LayoutPointer layout;
    };

    LayoutPointer inside(const Question& question, const View& content) {
        return layout(content, question.proposal, question.inherited);
    }
    /// A modifier that leaves its content's size alone.
    Layout around(const Question& question, const View& content, Point origin = {}) {
        const LayoutPointer child = inside(question, content);
        return question.answer(child->size, {{origin, child}});
    }

    Layout lay(const Question& question, const element::Empty&) { return question.answer({}); }

    Layout lay(const Question& question, const element::Text& text) {
        const TextSetting setting = setText(text.words, question.proposal, question.inherited, measurer_);
        Layout answer = question.answer(setting.size);
        answer.lineLimit = setting.lineLimit;
        answer.textScale = setting.scale;
        answer.textDirection = setting.direction;
        answer.cutsText = setting.isCut;
        return answer;
    }

    Layout lay(const Question& question, const element::AssetImage&) {
        return question.answer(shapeSize(question.proposal));
    }

    Layout lay(const Question& question, const element::BitmapImage& image) {
        const double horizontal = question.proposal.width.value_or(image.size.width) / image.size.width;
        const double vertical = question.proposal.height.value_or(image.size.height) / image.size.height;
        const double factor = image.contentMode == ContentMode::fit ? std::min(horizontal, vertical)
                                                                    : std::max(horizontal, vertical);
        return question.answer({image.size.width * factor, image.size.height * factor});
    }

    Layout lay(const Question& question, const element::Rectangle&) {
        return question.answer(shapeSize(question.proposal));
    }
    Layout lay(const Question& question, const element::RoundedRectangle&) {
        return question.answer(shapeSize(question.proposal));
    }
    Layout lay(const Question& question, const element::LinearGradient&) {
        return question.answer(shapeSize(question.proposal));
    }
    Layout lay(const Question& question, const element::Divider&) {
        return question.answer({question.proposal.width.value_or(idealShapeLength), dividerThickness});
    }
    /// Outside of a stack there is nothing to push apart.
    Layout lay(const Question& question, const element::Spacer&) { return question.answer({}); }

    Layout lay(const Question& question, const element::RowsThatFit& rows) {
        const std::optional<double> room = question.proposal.height;
        if (room && (*room <= 0 || !std::isfinite(*room))) {
            return question.answer({question.proposal.width.value_or(0), *room});
        }
        const RowsThatFit& arrangement = rows.arrangement;
        LayoutPointer divider;
        if (arrangement.divider)
            divider = layout(*arrangement.divider, {question.proposal.width}, question.inherited);
        const double spacingsInGap = divider ? 2 : 1;
        const double thickness = divider ? divider->size.height : 0;

        std::vector<LayoutPointer> shown;
        Size content;
        const std::size_t most =
            room ? rows.count : std::min(rows.count, arrangement.fewest.value_or(rows.count));
        for (std::size_t index = 0; index < most; ++index) {
            const View& view = row(rows, index);
            const double gap = index == 0 ? 0 : spacingsInGap * arrangement.spacing + thickness;
            LayoutPointer next = layout(view, {question.proposal.width, std::nullopt}, question.inherited);
            if (room && content.height + gap + next->size.height > *room + tolerance) {
                if (index > 0) break;
                next = inside(question, view);
            }
            if (room && index > 0 && next->cutsText) break;
            shown.push_back(next);
            content = {std::max(content.width, next->size.width), content.height + gap + next->size.height};
        }
        double spacing = arrangement.spacing;
        if (room && shown.size() > 1) {
            const double spacings = spacingsInGap * static_cast<double>(shown.size() - 1);
            spacing = std::clamp(spacing + (*room - content.height) / spacings, spacing,
                                 std::max(spacing, arrangement.widestSpacing));
            content.height += (spacing - arrangement.spacing) * spacings;
        }

        const Size size{question.proposal.width.value_or(content.width), room.value_or(content.height)};
        const auto across = [&](const LayoutPointer& child) {
            return aligned(child->size, arrangement.alignment, size).x;
        };
        std::vector<PlacedLayout> placed;
        double top = aligned(content, arrangement.alignment, size).y;
        for (const LayoutPointer& child : shown) {
            if (!placed.empty()) {
                top += spacing;
                if (divider) {
                    placed.push_back({{across(divider), top}, divider});
                    top += thickness + spacing;
                }
            }
            placed.push_back({{across(child), top}, child});
            top += child->size.height;
        }
        Layout answer = question.answer(size, std::move(placed));
        if (room && content.height > *room + tolerance) answer.cutsText = true;
        return answer;
    }

    Layout lay(const Question& question, const element::ViewThatFits& fitting) {
        const std::optional<double> room = question.proposal.height;
        for (const View& choice : fitting.choices) {
            if (&choice != &fitting.choices.back()) {
                const LayoutPointer ideal =
                    layout(choice, {question.proposal.width, std::nullopt}, question.inherited);
                if (ideal->cutsText || (room && ideal->size.height > *room + tolerance)) continue;
                // A stack may share out less to one of its children than that would take.
                if (inside(question, choice)->cutsText) continue;
            }
            return around(question, choice);
        }
        return question.answer({});
    }

    /// Rows are made once, however often they are asked for.
    const View& row(const element::RowsThatFit& rows, std::size_t index) {
        std::deque<View>& made = rows_[&rows];
        while (made.size() <= index) made.push_back(rows.row(made.size()));
        return made[index];
    }

    Layout lay(const Question& question, const element::LayeredStack& stack) {
        std::vector<PlacedLayout> children;
        Size size;
        for (const View& view : stack.children) {
            children.push_back({{}, inside(question, view)});
            size.width = std::max(size.width, children.back().layout->size.width);
            size.height = std::max(size.height, children.back().layout->size.height);
        }
        for (PlacedLayout& child : children)
            child.origin = aligned(child.layout->size, stack.alignment, size);
        return question.answer(size, std::move(children));
    }

    Layout lay(const Question& question, const element::GeometryReader& reader) {
        const Size size = shapeSize(question.proposal);
        if (!std::isfinite(size.width) || !std::isfinite(size.height)) return question.answer(size);
        const LayoutPointer child =
            layout(made_.emplace_back(reader.content(size)), {size.width, size.height}, question.inherited);
        return question.answer(size, {{{}, child}});
    }

    Layout lay(const Question& question, const element::Framed& framed) {
        const Frame& frame = framed.frame;
        const auto proposed = [](std::optional<double> fixed, std::optional<double> most,
                                 std::optional<double> outer) {
            if (fixed) return fixed;
            if (most && outer) return std::optional(std::min(*most, *outer));
            return outer;
        };
        const auto chosen = [](std::optional<double> fixed, std::optional<double> most,
                               std::optional<double> outer, double content) {
            if (fixed) return *fixed;
            if (most && outer) return std::min(*most, std::max(*outer, content));
            return content;
        };
        const Proposal& outer = question.proposal;
        const LayoutPointer child = layout(framed.content,
                                           {proposed(frame.width, frame.maxWidth, outer.width),
                                            proposed(frame.height, frame.maxHeight, outer.height)},
                                           question.inherited);
        const Size size{chosen(frame.width, frame.maxWidth, outer.width, child->size.width),
                        chosen(frame.height, frame.maxHeight, outer.height, child->size.height)};
        return question.answer(size, {{aligned(child->size, frame.alignment, size), child}});
    }

    Layout lay(const Question& question, const element::Padded& padded) {
        const EdgeInsets& insets = padded.insets;
        const double horizontal = insets.leading + insets.trailing;
        const double vertical = insets.top + insets.bottom;
        Proposal proposal = question.proposal;
        if (proposal.width) proposal.width = std::max(0.0, *proposal.width - horizontal);
        if (proposal.height) proposal.height = std::max(0.0, *proposal.height - vertical);
        const LayoutPointer child = layout(padded.content, proposal, question.inherited);
        return question.answer(
            {std::max(0.0, child->size.width + horizontal), std::max(0.0, child->size.height + vertical)},
            {{{insets.leading, insets.top}, child}});
    }

    Layout lay(const Question& question, const element::Offset& shifted) {
        return around(question, shifted.content, shifted.distance);
    }

    Layout lay(const Question& question, const element::Layered& layered) {
        const LayoutPointer content = inside(question, layered.content);
        const Size size = content->size;
        const LayoutPointer other = layout(layered.other, {size.width, size.height}, question.inherited);
        PlacedLayout first{{}, content};
        PlacedLayout second{aligned(other->size, layered.alignment, size), other};
        if (layered.side == element::Side::back) std::swap(first, second);
        return question.answer(size, {std::move(first), std::move(second)});
    }

    Layout lay(const Question& question, const element::Clipped& clipped) {
        return around(question, clipped.content);
    }
    Layout lay(const Question& question, const element::Paragraph& paragraph) {
        const LayoutPointer child = inside(question, paragraph.content);
        const bool runsFromRight = question.inherited.layoutDirection == LayoutDirection::rightToLeft;
        Size size = child->size;
        if (isReadFromRight(*child) && !runsFromRight)
            size.width = std::max(size.width, question.proposal.width.value_or(size.width));
        const double room = std::isfinite(size.width) ? size.width - child->size.width : 0;
        return question.answer(size, {{{room, 0}, child}});
    }
    Layout lay(const Question& question, const element::AlignedToPixels& aligned) {
        return around(question, aligned.content);
    }
    Layout lay(const Question& question, const element::Linked& linked) {
        return around(question, linked.content);
    }
    Layout lay(const Question& question, const element::Spoken& spoken) {
        return around(question, spoken.content);
    }
    Layout lay(const Question& question, const element::OnContainer& container) {
        return around(question, container.content);
    }

    Layout lay(const Question& question, const element::Inheriting& inheriting) {
        const LayoutPointer child =
            layout(inheriting.content, question.proposal, inheriting.values.over(question.inherited));
        return question.answer(child->size, {{{}, child}});
    }

    Layout lay(const Question& question, const element::Stack& stack) {
        const std::vector<LayoutPointer> children = sharing(question, stack);
        const Axis axis = stack.axis;
        Size size;
        for (const LayoutPointer& child : children) {
            length(size, axis) += length(child->size, axis);
            length(size, across(axis)) =
                std::max(length(size, across(axis)), length(child->size, across(axis)));
        }
        if (!children.empty()) length(size, axis) += stack.spacing * static_cast<double>(children.size() - 1);

        std::vector<PlacedLayout> placed;
        double position = 0;
        for (const LayoutPointer& child : children) {
            Point origin = aligned(child->size, stack.alignment, size);
            (axis == Axis::horizontal ? origin.x : origin.y) = position;
            placed.push_back({origin, child});
            position += length(child->size, axis) + stack.spacing;
        }
        return question.answer(size, std::move(placed));
    }

    /// A child of a stack, at a length along the stack's axis.
    LayoutPointer child(const Question& question, const element::Stack& stack, const View& view,
                        std::optional<double> along) {
        if (const auto* spacer = std::get_if<element::Spacer>(&view.element().kind)) {
            Size size;
            length(size, stack.axis) = std::max(spacer->minimumLength, along.value_or(spacer->minimumLength));
            return std::make_shared<const Layout>(Layout{view, question.inherited, size});
        }
        Proposal proposal = question.proposal;
        length(proposal, stack.axis) = along;
        return layout(view, proposal, question.inherited);
    }

    std::vector<LayoutPointer> sharing(const Question& question, const element::Stack& stack) {
        Proposal proposal = question.proposal;
        const std::optional<double> proposed = length(proposal, stack.axis);
        std::vector<LayoutPointer> children;
        if (!proposed || !std::isfinite(*proposed)) {
            for (const View& view : stack.children)
                children.push_back(child(question, stack, view, proposed));
            return children;
        }
        std::vector<StackChild> wishes;
        for (const View& view : stack.children) {
            const auto lengthAt = [&](double along) {
                return length(child(question, stack, view, along)->size, stack.axis);
            };
            wishes.push_back({lengthAt(0), lengthAt(infinity), priority(view)});
        }
        const double gaps =
            stack.children.empty() ? 0 : stack.spacing * static_cast<double>(wishes.size() - 1);
        // A text that breaks or ends in an ellipsis takes less than its share: what it leaves goes to the
        // others.
        for (bool settled = false; !settled;) {
            settled = true;
            const std::vector<double> shares = shareOut(*proposed - gaps, wishes);
            children.clear();
            for (std::size_t index = 0; index < shares.size(); ++index) {
                children.push_back(child(question, stack, stack.children[index], shares[index]));
                const double taken = length(children.back()->size, stack.axis);
                if (taken + tolerance < shares[index] && wishes[index].maximum > taken + tolerance) {
                    wishes[index] = {std::min(wishes[index].minimum, taken), taken, wishes[index].priority};
                    settled = false;
                }
            }
        }
        return children;
    }

    const TextMeasurer& measurer_;
    std::unordered_map<const Element*, std::vector<Answer>> answers_;
    /// Views made during the pass stay, so that no later one takes an address that the table knows.
    std::deque<View> made_;
    std::unordered_map<const element::RowsThatFit*, std::deque<View>> rows_;
};

}  // namespace

LayoutPointer layout(const View& view, Proposal proposal, const TextMeasurer& measurer,
                     const InheritedValues& inherited) {
    return LayoutPass(measurer).layout(view, proposal, inherited);
}

}  // namespace drawing
