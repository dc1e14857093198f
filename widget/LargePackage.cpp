// SPDX-License-Identifier: Apache-2.0

#include "widget/LargePackage.hpp"

#include <array>
#include <vector>

#include "presentation/SpokenPackage.hpp"
#include "widget/AppIcon.hpp"
#include "widget/EnlargedPackage.hpp"
#include "widget/NetworkImage.hpp"
#include "widget/PackageBody.hpp"

namespace widget {

using namespace drawing;

namespace {

constexpr std::array pictureSizes = {WidgetImageSize::extraLarge, WidgetImageSize::large,
                                     WidgetImageSize::medium};

/// As many as there may be room for in the design's size.
constexpr std::size_t few = 4;

View dividingLine() {
    return divider(Color::asset("DividerColor"));
}

/// What is read and tapped as one.
View whole(const View& body, const presentation::Package& package) {
    return body.link(package.deepLinkingUrl()).spoken(presentation::spoken(package));
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
        {.spacing = 0}, {merchantName(package, environment), spacer(10), appIcon(environment.colorScheme)});
    const View body =
        verticalStack({.spacing = 0}, {
                                          cover,
                                          name.padding({.top = 12}),
                                          statusLines(package, setting),
                                          progressBar(package, environment).padding({.top = 10}),
                                      });
    return whole(body, package);
}

/// Each as in a widget of its own, of half the height.
View pair(const presentation::PackageList& packages, const ViewEnvironment& environment, WidgetImageSize size,
          const StatusSetting& setting) {
    const presentation::Package& first = *packages[0];
    const presentation::Package& second = *packages[1];
    const View icon = appIcon(environment.colorScheme);
    return verticalStack({.spacing = 14},
                         {
                             whole(mediumBody(first, environment, size, setting, icon), first),
                             dividingLine(),
                             whole(mediumBody(second, environment, size, setting), second),
                         });
}

/// What is cut in any case: as little of it as possible, or so much that there is room for other packages.
enum class LongWords { onTwoLines, onOneLine };

/// One line for each status where it is shown whole so: then there is room for one package more.
std::vector<StatusSetting> rowSettings(const presentation::StatusPair& status, LongWords longWords) {
    using enum StatusSetting::Cut;
    const int alone = status.secondary ? 1 : 2;
    const int cut = longWords == LongWords::onTwoLines ? 2 : alone;
    return {
        {alone, 1, 1, never},
        {alone, 1, tightest, never},
        {2, 2, tightest, never},
        {cut, 1, tightest, allowed},
    };
}

View rows(const presentation::PackageList& packages, const ViewEnvironment& environment,
          LongWords longWords) {
    const auto row = [packages, environment, longWords](std::size_t index) {
        const presentation::Package& package = *packages[index];
        const View icon = index == 0 ? appIcon(environment.colorScheme) : View();
        const auto body = [&](const StatusSetting& setting) {
            return verticalStack({.spacing = 8}, {packageRow(package, environment, setting, icon),
                                                  progressBar(package, environment)});
        };
        return whole(statusThatFits(rowSettings(package.statusText(), longWords), body), package);
    };
    // Close enough for four packages of one status line each; down to the lower margin in any case.
    return rowsThatFit({.spacing = 10, .widestSpacing = infinity, .divider = dividingLine()}, packages.size(),
                       row);
}

View enlargedRows(const presentation::PackageList& packages, const ViewEnvironment& environment, RowName name,
                  std::size_t fewest) {
    const auto row = [packages, environment, name](std::size_t index) {
        const presentation::Package& package = *packages[index];
        const auto icon = index == 0 ? std::optional(appIcon(environment.colorScheme)) : std::nullopt;
        return whole(enlargedRow(package, environment, name, icon), package);
    };
    return rowsThatFit(
        {.spacing = 10, .widestSpacing = infinity, .divider = dividingLine(), .fewest = fewest},
        packages.size(), row);
}

/// Each of two in half of the height, both in the same form.
std::vector<View> enlargedPairs(const presentation::PackageList& packages,
                                const ViewEnvironment& environment) {
    const auto bodies = [&](const presentation::Package& package, const View& corner) {
        return enlargedBodies(package, environment, WidgetImageSize::extraLarge, corner);
    };
    const std::vector<View> firsts = bodies(*packages[0], appIcon(environment.colorScheme));
    const std::vector<View> seconds = bodies(*packages[1], View());
    std::vector<View> pairs;
    for (std::size_t form = 0; form < firsts.size(); ++form) {
        pairs.push_back(verticalStack({.spacing = 14}, {whole(firsts[form], *packages[0]), dividingLine(),
                                                        whole(seconds[form], *packages[1])}));
    }
    return pairs;
}

/// As many packages as there is room for: three or more in rows, two in half of the height each or in rows,
/// or the first alone.
View enlarged(const presentation::PackageList& packages, const ViewEnvironment& environment) {
    std::vector<View> choices;
    if (packages.size() > 2) {
        for (const RowName name : {RowName::shown, RowName::yielding})
            choices.push_back(enlargedRows(packages, environment, name, 3));
    }
    if (packages.size() > 1) {
        const std::vector<View> pairs = enlargedPairs(packages, environment);
        choices.insert(choices.end(), pairs.begin(), pairs.end());
        choices.push_back(enlargedRows(packages, environment, RowName::yielding, 2));
    }
    const presentation::Package& first = *packages.front();
    choices.push_back(single(first, environment, unshrunk));
    const View icon = appIcon(environment.colorScheme);
    for (const View& body : enlargedBodies(first, environment, WidgetImageSize::extraLarge, icon))
        choices.push_back(whole(body, first));
    return viewThatFits(std::move(choices));
}

}  // namespace

View LargePackage::body(const ViewEnvironment& environment) const {
    if (isEnlarged(environment.appearance.textSize)) return enlarged(packages, environment);
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
    // All of them, or as many as there is room for. Of many it is not asked: every one would be looked at.
    if (packages.size() <= few) choices.push_back(rows(packages, environment, LongWords::onTwoLines));
    choices.push_back(rows(packages, environment, LongWords::onOneLine));
    return viewThatFits(std::move(choices));
}

}  // namespace widget
