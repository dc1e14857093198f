// SPDX-License-Identifier: Apache-2.0

#include "widget/SmallPackage.hpp"

#include <vector>

#include "widget/AppIcon.hpp"
#include "widget/PackageBody.hpp"

namespace widget {

using namespace drawing;

namespace {

enum class Name { shown, left };
enum class Secondary { shown, left };

/// What stands at least between the picture and the words, and between them and the bar.
struct Air {
    double aboveWords;
    double belowWords;
};
constexpr Air ample{8, 7};
constexpr Air scant{4, 4};
constexpr Air least{1, 3};

/// Not so much smaller that the second line would be the larger one.
constexpr StatusSetting onOneTightLine{1, 1, 0.88};
constexpr StatusSetting onOneLine{1, 1, 1};

struct Arrangement {
    Name name;
    Secondary secondary;
    Air air;
};

}  // namespace

View SmallPackage::body(const ViewEnvironment& environment) const {
    const presentation::StatusPair status = package.statusText();
    const View header = horizontalStack({.alignment = VerticalAlignment::top, .spacing = 0},
                                        {
                                            shopPicture(package, WidgetImageSize::large, environment),
                                            spacer(),
                                            appIcon(environment.colorScheme),
                                        });

    std::vector<View> choices;
    const auto offer = [&](const Arrangement& arrangement, const StatusSetting& setting) {
        std::vector<View> rows = {header, spacer(arrangement.air.aboveWords)};
        if (arrangement.name == Name::shown) rows.push_back(footnote(package.shopName()));
        rows.push_back(primaryLine(status, setting));
        if (arrangement.secondary == Secondary::shown) rows.push_back(secondaryLine(status, setting));
        rows.push_back(progressBar(package, environment).padding({.top = arrangement.air.belowWords}));
        choices.push_back(
            verticalStack({.alignment = HorizontalAlignment::leading, .spacing = 0}, std::move(rows)));
    };

    if (isEnlarged(environment.appearance.textSize)) {
        constexpr StatusSetting whole{3, 3, 1};
        offer({Name::shown, Secondary::shown, ample}, whole);
        offer({Name::shown, Secondary::shown, scant}, whole);
        offer({Name::left, Secondary::shown, ample}, whole);
        offer({Name::left, Secondary::shown, least}, whole);
        return viewThatFits(std::move(choices)).widgetURL(package.deepLinkingUrl());
    }

    // The merchant's picture says who it is; where there is none, the name alone does.
    const bool isKnownByPicture = showsShopPicture(package, WidgetImageSize::large, environment);
    const Air beside = isKnownByPicture ? ample : scant;
    offer({Name::shown, Secondary::shown, beside}, onOneLine);
    if (!isKnownByPicture) offer({Name::shown, Secondary::shown, beside}, {1, 1, tightest});
    const std::vector<StatusSetting> settings = statusSettings(status);
    offer({Name::left, Secondary::shown, ample}, onOneLine);
    offer({Name::left, Secondary::shown, ample}, settings.front());
    offer({Name::left, Secondary::shown, ample}, onOneTightLine);
    for (const StatusSetting& setting : settings) offer({Name::left, Secondary::shown, least}, setting);
    for (const StatusSetting& setting : settings) offer({Name::left, Secondary::left, least}, setting);
    return viewThatFits(std::move(choices)).widgetURL(package.deepLinkingUrl());
}

}  // namespace widget
