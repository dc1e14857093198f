// SPDX-License-Identifier: Apache-2.0

#include "host/widget/TerminalView.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include "host/reader/TerminalText.hpp"
#include "presentation/DeepLink.hpp"
#include "presentation/Wording.hpp"

namespace host {

using presentation::Package;
using presentation::Wording;

namespace {

constexpr std::size_t margin = 2;
constexpr std::size_t minimumColumns = 10;
constexpr std::size_t longestBar = 48;

/// Select Graphic Rendition parameters (ECMA-48) for each role, in sixteen colours and in full colour.
struct Role {
    std::string_view sixteen;
    std::string_view trueColor;
};
constexpr Role title = {"1", "1"};
constexpr Role quiet = {"2", "2"};
/// The brand's colour of the dark scheme, and what comes nearest of the sixteen: 3:1 on a black ground and on
/// a white one.
constexpr Role bar = {"94", "38;2;27;125;179"};
constexpr Role barTrack = {"90", "38;2;128;128;136"};

std::string styled(std::string_view text, const Role& role, const TerminalStyle& style) {
    if (style.color == TerminalColor::none || text.empty()) return std::string(text);
    const auto parameters = style.color == TerminalColor::trueColor ? role.trueColor : role.sixteen;
    return "\x1b[" + std::string(parameters) + "m" + std::string(text) + "\x1b[0m";
}

std::string linked(const std::string& text, const platform::URL& url, const TerminalStyle& style) {
    if (style.links == TerminalLinks::written) return text;
    return "\x1b]8;;" + url.absoluteString() + "\x1b\\" + text + "\x1b]8;;\x1b\\";
}

std::string repeated(std::string_view text, std::size_t count) {
    std::string result;
    for (std::size_t index = 0; index < count; ++index) result.append(text);
    return result;
}

class Page {
  public:
    explicit Page(const TerminalStyle& style) : style_(style) {}

    void line(std::string_view text, const Role* role = nullptr, const platform::URL* link = nullptr) {
        auto content = fittedToColumns(terminalSafe(text), textColumns());
        if (role) content = styled(content, *role, style_);
        if (link) content = linked(content, *link, style_);
        rawLine(content);
    }

    void writtenLink(const platform::URL& url) {
        // A link that is cut leads nowhere, so this line may be longer than the rest.
        if (style_.links == TerminalLinks::written)
            rawLine(styled(terminalSafe(url.absoluteString()), quiet, style_));
    }

    void rawLine(const std::string& content) { text_.append(margin, ' ').append(content).append("\n"); }
    void blankLine() { text_.append("\n"); }

    std::size_t textColumns() const { return std::max(style_.columns, minimumColumns) - 2 * margin; }
    std::string text() && { return std::move(text_); }

  private:
    const TerminalStyle& style_;
    std::string text_;
};

struct StateWriter {
    Page& page;
    const TerminalStyle& style;

    void operator()(const widget::LoggedIn& state) const {
        for (const auto& package : state.packages) {
            write(*package);
            if (package != state.packages.back()) page.blankLine();
        }
    }
    void operator()(const widget::NotLoggedIn&) const {
        const auto homeOrders = presentation::DeepLink::homeOrders();
        page.line(Wording::invitation, &title);
        page.line(Wording::signInToTheApp, &quiet, &homeOrders);
    }
    void operator()(const widget::NoPackages&) const {
        const auto addDelivery = presentation::DeepLink::addDelivery();
        page.line(Wording::nothingToTrack, &title);
        page.line(Wording::addOrder, &quiet, &addDelivery);
        page.writtenLink(addDelivery);
    }

    void write(const Package& package) const {
        const auto link = package.deepLinkingUrl();
        const auto status = package.statusText();
        page.line(package.shopName(), &title, &link);
        page.line(status.primary);
        if (status.secondary) page.line(*status.secondary, &quiet);
        page.rawLine(blockProgressBar(package.progress(), std::min(page.textColumns(), longestBar), style));
        page.writtenLink(link);
    }
};

}  // namespace

std::string blockProgressBar(float fraction, std::size_t cells, const TerminalStyle& style) {
    constexpr std::array<std::string_view, 8> eighths = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
    const double bounded = std::isfinite(fraction) ? std::clamp<double>(fraction, 0, 1) : 0;
    const auto filled = static_cast<std::size_t>(std::lround(bounded * static_cast<double>(cells) * 8));
    const auto whole = filled / 8;
    const auto part = eighths[filled % 8];
    const auto rest = cells - whole - (part.empty() ? 0 : 1);
    return styled(repeated("█", whole) + std::string(part), bar, style) +
           styled(repeated("░", rest), barTrack, style);
}

std::string terminalView(const widget::SimpleEntry& entry, const TerminalStyle& style) {
    Page page(style);
    std::visit(StateWriter{page, style}, entry.widgetState);
    return std::move(page).text();
}

std::string terminalView(const Package& package, const TerminalStyle& style) {
    Page page(style);
    StateWriter{page, style}.write(package);
    return std::move(page).text();
}

}  // namespace host
