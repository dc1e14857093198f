#include "widget/PackageBody.hpp"

#include "widget/NetworkImage.hpp"
#include "widget/ProgressBar.hpp"
#include "widget/StyledText.hpp"
#include "widget/WidgetImageSize.hpp"

namespace widget {

using namespace platform;

namespace {

constexpr double pictureSize = points(WidgetImageSize::medium);

View footnote(const std::string& words) {
    return StyledText{words, Color::asset("TextTertiaryColor"), std::nullopt, TextStyle::footnote}
        .body()
        .lineLimit(1);
}

}  // namespace

View statusLines(const presentation::Package& package) {
    const presentation::StatusPair status = package.statusText();
    const int lines = status.secondary ? 1 : 2;
    std::vector<View> rows = {
        StyledText{status.primary, Color::primary(), FontWeight::medium, TextStyle::subheadline}
            .body()
            .lineLimit(lines)
            .padding({.top = 4}),
    };
    if (status.secondary) rows.push_back(footnote(*status.secondary).padding({.top = 4}));
    return verticalStack({.alignment = HorizontalAlignment::leading, .spacing = 0}, rows)
        .frame({.maxWidth = infinity, .alignment = Alignment::leading});
}

View shopName(const presentation::Package& package) {
    return footnote(package.shopName());
}

View shopPicture(const presentation::Package& package, ScaledPictures& pictures) {
    return NetworkImage{package.shopImage(), pictureSize, initial(package.shopName())}.body(pictures);
}

View productPicture(const presentation::Package& package, ScaledPictures& pictures) {
    const std::optional<URL> url = package.productImage();
    if (!url) return View();
    return NetworkImage{url, pictureSize, initial(package.shopName()), ContentMode::fill}.body(pictures);
}

View progressBar(const presentation::Package& package) {
    return ProgressBar{package.progress(), 4, Color::asset("BrandColor")}.body();
}

}  // namespace widget
