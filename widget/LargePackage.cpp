#include "widget/LargePackage.hpp"

#include "widget/AppIcon.hpp"
#include "widget/PackageBody.hpp"

namespace widget {

using namespace platform;

namespace {

View packageRow(const presentation::Package& package, const ViewEnvironment& environment) {
    const View words = verticalStack(
        {.alignment = HorizontalAlignment::leading, .spacing = 0},
        {footnote(package.shopName()), statusLines(package, package.statusText().secondary ? 1 : 2)});
    const View row =
        horizontalStack({.spacing = 10}, {
                                             shopPicture(package, WidgetImageSize::medium, environment),
                                             words,
                                             productPicture(package, WidgetImageSize::medium, environment),
                                         });
    return verticalStack({.spacing = 0}, {row, progressBar(package).padding({.top = 10})})
        .link(package.deepLinkingUrl());
}

}  // namespace

View LargePackage::body(const ViewEnvironment& environment) const {
    const auto row = [packages = packages, environment](std::size_t index) {
        const View package = packageRow(*packages[index], environment);
        if (index == 0) return package;
        return verticalStack({.spacing = 14}, {divider(Color::asset("DividerColor")), package});
    };
    return verticalStack({.alignment = HorizontalAlignment::trailing, .spacing = 10},
                         {
                             appIcon(environment.colorScheme),
                             rowsThatFit({.spacing = 14}, packages.size(), row),
                         });
}

}  // namespace widget
