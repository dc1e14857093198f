// SPDX-License-Identifier: Apache-2.0

#include "widget/EnlargedPackage.hpp"

#include <algorithm>
#include <array>

#include "widget/AppIcon.hpp"

namespace widget {

using namespace drawing;

namespace {

constexpr std::array headerPictures = {WidgetImageSize::extraLarge, WidgetImageSize::large,
                                       WidgetImageSize::medium, WidgetImageSize::small};

/// Between the words and the bar.
constexpr double ampleAboveBar = 10;
constexpr double scantAboveBar = 3;

View headerOf(const View& leading, const View& corner) {
    return horizontalStack({.alignment = VerticalAlignment::top, .spacing = 0},
                           {leading, spacer(10), corner});
}

View overBar(const View& header, const presentation::Package& package, const ViewEnvironment& environment,
             double aboveBar) {
    const View bar = progressBar(package, environment).padding({.top = aboveBar});
    return verticalStack({.spacing = 0}, {header, spacer(), statusLines(package, unshrunk), bar});
}

/// Both pictures above the words; the merchant's name where there is no other to show.
View picturedHeader(const presentation::Package& package, const ViewEnvironment& environment,
                    WidgetImageSize size, const View& corner) {
    const View shop = shopPicture(package, size, environment);
    // Asked for even before it is known whether the merchant's has come, so that both are read together.
    const View product = package.shopImage() ? productPicture(package, size, environment) : View();
    const bool hasBoth = package.productImage() && showsShopPicture(package, size, environment);
    const View other = hasBoth ? product : merchantName(package, environment);
    return headerOf(horizontalStack({.spacing = 10}, {shop, other}), corner);
}

/// The words beside the merchant's picture, with its name above them or without.
View besidePicture(const presentation::Package& package, const ViewEnvironment& environment, RowName name,
                   int lines, const View& product, const std::optional<View>& corner) {
    const View status = statusLines(package, {lines, lines, 1});
    const View icon = corner.value_or(View());
    View words = status;
    if (name == RowName::shown) {
        const View merchant =
            merchantName(package, environment).frame({.maxWidth = infinity, .alignment = Alignment::leading});
        const View first = horizontalStack({.spacing = 6}, {merchant, icon});
        words = verticalStack({.alignment = HorizontalAlignment::leading, .spacing = 0}, {first, status});
    } else if (corner) {
        const FontMetrics font = metrics(TextStyle::subheadline, environment.appearance.textSize);
        const View onFirstLine = icon.padding({.top = 4 + (font.lineHeight - appIconSide) / 2});
        words = horizontalStack({.alignment = VerticalAlignment::top, .spacing = 10}, {status, onFirstLine});
    }
    return horizontalStack({.spacing = 10},
                           {shopPicture(package, WidgetImageSize::medium, environment), words, product});
}

}  // namespace

View merchantName(const presentation::Package& package, const ViewEnvironment& environment, TextSize most) {
    return footnote(package.shopName()).textSize(std::min(environment.appearance.textSize, most));
}

std::vector<View> enlargedBodies(const presentation::Package& package, const ViewEnvironment& environment,
                                 WidgetImageSize largest, const View& corner) {
    std::vector<View> bodies;
    for (const WidgetImageSize size : headerPictures) {
        if (size > largest) continue;
        if (!isAccessibilitySize(environment.appearance.textSize))
            bodies.push_back(mediumBody(package, environment, size, unshrunk, corner));
        const View pictures = picturedHeader(package, environment, size, corner);
        bodies.push_back(overBar(pictures, package, environment, ampleAboveBar));
        if (size == WidgetImageSize::small)
            bodies.push_back(overBar(pictures, package, environment, scantAboveBar));
    }
    for (const TextSize most : {TextSize::accessibility1, TextSize::large, TextSize::small}) {
        const View named = headerOf(merchantName(package, environment, most), corner);
        bodies.push_back(overBar(named, package, environment, scantAboveBar));
    }
    return bodies;
}

View enlargedRow(const presentation::Package& package, const ViewEnvironment& environment, RowName name,
                 const std::optional<View>& corner) {
    const bool isKnownByPicture = showsShopPicture(package, WidgetImageSize::medium, environment);
    const RowName shown = isKnownByPicture ? name : RowName::shown;
    const View product = productPicture(package, WidgetImageSize::medium, environment);
    const View header =
        headerOf(horizontalStack({.spacing = 10}, {shopPicture(package, WidgetImageSize::small, environment),
                                                   merchantName(package, environment)}),
                 corner.value_or(View()));
    const View bar = progressBar(package, environment);
    std::vector<View> forms = {
        besidePicture(package, environment, shown, 1, product, corner),
        besidePicture(package, environment, shown, 1, View(), corner),
        besidePicture(package, environment, shown, 2, View(), corner),
        verticalStack({.spacing = 0}, {header, statusLines(package, unshrunk)}),
    };
    for (View& form : forms) form = verticalStack({.spacing = 8}, {form, bar});
    return viewThatFits(std::move(forms));
}

}  // namespace widget
