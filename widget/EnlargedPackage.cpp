// SPDX-License-Identifier: Apache-2.0

#include "widget/EnlargedPackage.hpp"

#include <algorithm>
#include <array>

namespace widget {

using namespace drawing;

namespace {

constexpr std::array headerPictures = {WidgetImageSize::extraLarge, WidgetImageSize::large,
                                       WidgetImageSize::medium, WidgetImageSize::small};

/// Between the words and the bar.
constexpr double ampleAboveBar = 10;
constexpr double scantAboveBar = 3;

/// The merchant's name, which needs to be no larger than that to be found.
View merchantName(const presentation::Package& package, const ViewEnvironment& environment, TextSize most) {
    return footnote(package.shopName()).textSize(std::min(environment.appearance.textSize, most));
}

View headerOf(const View& leading, const View& corner) {
    return horizontalStack({.alignment = VerticalAlignment::top, .spacing = 0},
                           {leading, spacer(10), corner});
}

View overBar(const View& header, const presentation::Package& package, const ViewEnvironment& environment,
             double aboveBar) {
    const View bar = progressBar(package, environment.colorScheme).padding({.top = aboveBar});
    return verticalStack({.spacing = 0}, {header, spacer(), statusLines(package, unshrunk), bar});
}

/// Both pictures above the words; the merchant's name where there is no other to show.
View picturedHeader(const presentation::Package& package, const ViewEnvironment& environment,
                    WidgetImageSize size, const View& corner) {
    const View shop = shopPicture(package, size, environment);
    const bool hasBoth = package.productImage() && showsShopPicture(package, size, environment);
    const View other = hasBoth ? productPicture(package, size, environment)
                               : merchantName(package, environment, TextSize::accessibility1);
    return headerOf(horizontalStack({.spacing = 10}, {shop, other}), corner);
}

/// The words beside the merchant's picture.
View besidePicture(const presentation::Package& package, const ViewEnvironment& environment,
                   const View& corner) {
    return horizontalStack(
        {.alignment = VerticalAlignment::top, .spacing = 10},
        {shopPicture(package, WidgetImageSize::medium, environment), statusLines(package, unshrunk), corner});
}

}  // namespace

std::vector<View> enlargedBodies(const presentation::Package& package, const ViewEnvironment& environment,
                                 WidgetImageSize largest, const View& corner) {
    std::vector<View> bodies;
    for (const WidgetImageSize size : headerPictures) {
        if (size > largest) continue;
        if (size > WidgetImageSize::small)
            bodies.push_back(mediumBody(package, environment, size, unshrunk, corner));
        const View pictures = picturedHeader(package, environment, size, corner);
        for (const double air : {ampleAboveBar, scantAboveBar})
            bodies.push_back(overBar(pictures, package, environment, air));
    }
    for (const TextSize most : {TextSize::accessibility1, TextSize::large, TextSize::small}) {
        const View named = headerOf(merchantName(package, environment, most), corner);
        bodies.push_back(overBar(named, package, environment, scantAboveBar));
    }
    return bodies;
}

std::vector<View> enlargedRows(const presentation::Package& package, const ViewEnvironment& environment,
                               const View& corner) {
    const View bar = progressBar(package, environment.colorScheme);
    std::vector<View> rows;
    for (const int lines : {1, 2}) {
        const StatusSetting setting{lines, lines, 1};
        rows.push_back(
            verticalStack({.spacing = 8}, {packageRow(package, environment, setting, corner), bar}));
    }
    if (showsShopPicture(package, WidgetImageSize::medium, environment))
        rows.push_back(verticalStack({.spacing = 8}, {besidePicture(package, environment, corner), bar}));
    const View named = headerOf(merchantName(package, environment, TextSize::accessibility1), corner);
    rows.push_back(overBar(named, package, environment, ampleAboveBar));
    return rows;
}

}  // namespace widget
