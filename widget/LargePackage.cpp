// SPDX-License-Identifier: Apache-2.0

#include "widget/LargePackage.hpp"

#include <array>
#include <vector>

#include "presentation/SpokenPackage.hpp"
#include "widget/AppIcon.hpp"
#include "widget/NetworkImage.hpp"
#include "widget/PackageBody.hpp"

namespace widget {

using namespace drawing;

namespace {

constexpr std::array pictureSizes = {WidgetImageSize::extraLarge, WidgetImageSize::large,
                                     WidgetImageSize::medium};

View dividingLine() {
    return divider(Color::asset("DividerColor"));
}

/// Its pictures on a ground of their own, as high as there is room, and the words below.
View single(const presentation::Package& package, const ViewEnvironment& environment,
            const StatusSetting& setting) {
    View shop = shopPicture(package, WidgetImageSize::extraLarge, environment);
    if (environment.colorScheme == ColorScheme::light)
        shop = shop.background(roundedRectangle(NetworkImage::cornerRadius, Color::white()));
    const View product = productPicture(package, WidgetImageSize::extraLarge, environment);
    const View pictures = horizontalStack({.spacing = 16}, {shop, product});
    const View cover =
        pictures.padding(EdgeInsets::vertical(20))
            .frame({.maxWidth = infinity, .maxHeight = infinity})
            .background(linearGradient({Color::asset("CoverTopColor"), Color::asset("CoverBottomColor")})
                            .clipped(12));
    const View name = horizontalStack(
        {.spacing = 0}, {footnote(package.shopName()), spacer(10), appIcon(environment.colorScheme)});
    return verticalStack({.spacing = 0},
                         {
                             cover,
                             name.padding({.top = 12}),
                             statusLines(package, setting),
                             progressBar(package, environment).padding({.top = 10}),
                         })
        .link(package.deepLinkingUrl())
        .spoken(presentation::spoken(package));
}

/// Each as in a widget of its own, of half the height.
View pair(const presentation::PackageList& packages, const ViewEnvironment& environment, WidgetImageSize size,
          const StatusSetting& setting) {
    const presentation::Package& first = *packages[0];
    const presentation::Package& second = *packages[1];
    return verticalStack({.spacing = 14},
                         {
                             mediumBody(first, environment, size, setting, appIcon(environment.colorScheme))
                                 .link(first.deepLinkingUrl())
                                 .spoken(presentation::spoken(first)),
                             dividingLine(),
                             mediumBody(second, environment, size, setting)
                                 .link(second.deepLinkingUrl())
                                 .spoken(presentation::spoken(second)),
                         });
}

/// One line for each status where it is shown whole so: then there is room for one package more.
std::vector<StatusSetting> rowSettings(const presentation::StatusPair& status) {
    using enum StatusSetting::Cut;
    const int alone = status.secondary ? 1 : 2;
    return {
        {alone, 1, 1, never},
        {alone, 1, tightest, never},
        {2, 2, tightest, never},
        {alone, 1, tightest, allowed},
    };
}

View rows(const presentation::PackageList& packages, const ViewEnvironment& environment) {
    const auto row = [packages, environment](std::size_t index) {
        const presentation::Package& package = *packages[index];
        const View icon = index == 0 ? appIcon(environment.colorScheme) : View();
        const auto body = [&](const StatusSetting& setting) {
            return verticalStack({.spacing = 8}, {packageRow(package, environment, setting, icon),
                                                  progressBar(package, environment)});
        };
        return statusThatFits(rowSettings(package.statusText()), body)
            .link(package.deepLinkingUrl())
            .spoken(presentation::spoken(package));
    };
    // Close enough for four packages of one status line each; down to the lower margin in any case.
    return rowsThatFit({.spacing = 10, .widestSpacing = infinity, .divider = dividingLine()}, packages.size(),
                       row);
}

}  // namespace

View LargePackage::body(const ViewEnvironment& environment) const {
    std::vector<View> choices;
    if (packages.size() == 1) {
        const presentation::Package& package = *packages.front();
        for (const StatusSetting& setting : statusSettings(package.statusText(), StatusSetting::Cut::never))
            choices.push_back(single(package, environment, setting));
    }
    if (packages.size() == 2) {
        for (const WidgetImageSize size : pictureSizes)
            choices.push_back(pair(packages, environment, size, {.primaryLines = 3, .secondaryLines = 2}));
    }
    choices.push_back(rows(packages, environment));
    return viewThatFits(std::move(choices));
}

}  // namespace widget
