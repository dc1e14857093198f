// SPDX-License-Identifier: Apache-2.0

#include "widget/PackageBody.hpp"

#include "drawing/Image/Lightness.hpp"
#include "widget/NetworkImage.hpp"
#include "widget/ProgressBar.hpp"
#include "widget/StyledText.hpp"

namespace widget {

using namespace drawing;

namespace {

/// On a white plate where it would vanish in the dark.
View visible(const NetworkImage& image, const ViewEnvironment& environment) {
    const View picture = image.body(environment.pictures);
    if (environment.colorScheme == ColorScheme::light || !image.url) return picture;
    const auto bitmap = environment.pictures.picture(*image.url, image.imageSize);
    if (!bitmap || !isDrawnForLightGround(*bitmap)) return picture;
    return picture.background(roundedRectangle(NetworkImage::cornerRadius, Color::white()));
}

}  // namespace

View statusLines(const presentation::Package& package, int lines) {
    const presentation::StatusPair status = package.statusText();
    std::vector<View> rows = {
        StyledText{status.primary, Color::primary(), FontWeight::medium, TextStyle::subheadline}
            .body()
            .lineLimit(lines)
            .minimumScaleFactor(tightest)
            .padding({.top = 4}),
    };
    if (status.secondary) rows.push_back(footnote(*status.secondary).padding({.top = 4}));
    return verticalStack({.alignment = HorizontalAlignment::leading, .spacing = 0}, rows)
        .frame({.maxWidth = infinity, .alignment = Alignment::leading});
}

View packageRow(const presentation::Package& package, const ViewEnvironment& environment) {
    const int lines = package.statusText().secondary ? 1 : 2;
    const View words = verticalStack({.alignment = HorizontalAlignment::leading, .spacing = 0},
                                     {footnote(package.shopName()), statusLines(package, lines)});
    return horizontalStack({.spacing = 10}, {
                                                shopPicture(package, WidgetImageSize::medium, environment),
                                                words,
                                                productPicture(package, WidgetImageSize::medium, environment),
                                            });
}

View footnote(const std::string& words) {
    return StyledText{words, Color::asset("TextTertiaryColor"), std::nullopt, TextStyle::footnote}
        .body()
        .lineLimit(1)
        .minimumScaleFactor(tightest);
}

View shopPicture(const presentation::Package& package, WidgetImageSize size,
                 const ViewEnvironment& environment) {
    return visible({package.shopImage(), points(size), initial(package.shopName())}, environment);
}

View productPicture(const presentation::Package& package, WidgetImageSize size,
                    const ViewEnvironment& environment) {
    const std::optional<platform::URL> url = package.productImage();
    if (!url) return View();
    return visible({url, points(size), initial(package.shopName()), ContentMode::fill}, environment);
}

View progressBar(const presentation::Package& package, double height, const Color& color) {
    const float progress = package.progress();
    return ProgressBar{progress, height, color}.body().padding(
        {.leading = progress > 0 ? 0 : height, .bottom = height / 2, .trailing = height});
}

View progressBar(const presentation::Package& package) {
    return progressBar(package, 4, Color::asset("BrandColor"));
}

}  // namespace widget
