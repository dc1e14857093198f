// SPDX-License-Identifier: Apache-2.0

#include "widget/PackageBody.hpp"

#include "drawing/Image/Lightness.hpp"
#include "drawing/Painters/Redaction.hpp"
#include "widget/Ground.hpp"
#include "widget/NetworkImage.hpp"
#include "widget/ProgressBar.hpp"
#include "widget/StyledText.hpp"

namespace widget {

using namespace drawing;

namespace {

/// What a mark needs behind it to be seen.
std::optional<Color> plate(const Bitmap& bitmap, ColorScheme colorScheme) {
    switch (strokes(bitmap)) {
        case Strokes::dark:
            if (colorScheme == ColorScheme::dark) return Color::white();
            break;
        case Strokes::white:
            if (colorScheme == ColorScheme::light) return Color::sRGB(33, 33, 34);
            break;
        case Strokes::none: break;
    }
    return std::nullopt;
}

bool isRedacted(const ViewEnvironment& environment) {
    return environment.appearance.redaction == Redaction::placeholder;
}

View block(double cornerRadius) {
    return roundedRectangle(cornerRadius, Color::asset(redactedColorName));
}

View visible(const NetworkImage& image, const ViewEnvironment& environment) {
    if (isRedacted(environment))
        return block(NetworkImage::cornerRadius).frame({.width = image.imageSize, .height = image.imageSize});
    const View picture = image.body(environment.pictures);
    const auto bitmap = image.url ? environment.pictures.picture(*image.url, image.imageSize) : nullptr;
    const std::optional<Color> behind = bitmap ? plate(*bitmap, environment.colorScheme) : std::nullopt;
    if (!behind) return picture;
    return picture.background(roundedRectangle(NetworkImage::cornerRadius, *behind));
}

StyledText quiet(const std::string& words) {
    return {words, Color::asset("TextTertiaryColor"), std::nullopt, TextStyle::footnote};
}

/// The ground itself, in the middle of its gradient.
Color groundColor(ColorScheme colorScheme) {
    return colorScheme == ColorScheme::dark ? Color::sRGB(ground(colorScheme).middle) : Color::white();
}

/// White text on the brand's colour keeps that too dark to stand out from the track, where more contrast is
/// asked for.
Color doneColor(const ViewEnvironment& environment) {
    switch (environment.appearance.contrast) {
        case Contrast::standard: return Color::asset("BrandColor");
        case Contrast::increased: return Color::primary();
    }
    return Color::primary();
}

/// Between the mark on the end of what is done and the rest of the track.
View gap(double fraction, double height, ColorScheme colorScheme) {
    constexpr double width = 2;
    return geometryReader([=](Size offered) {
        const double begin = offered.width * fraction + height;
        if (begin + width > offered.width - height) return View();
        return rectangle(groundColor(colorScheme))
            .frame({.width = width, .height = height})
            .offset({begin, 0});
    });
}

}  // namespace

std::vector<StatusSetting> statusSettings(const presentation::StatusPair& status) {
    using enum StatusSetting::Cut;
    const int alone = status.secondary ? 1 : 2;
    return {
        {3, 2, 1, never},        {2, 1, tightest, never},   {1, 2, tightest, never},
        {2, 2, tightest, never}, {2, 1, tightest, allowed}, {alone, 1, tightest, allowed},
    };
}

std::vector<StatusSetting> statusSettings(const presentation::StatusPair& status, StatusSetting::Cut cut) {
    std::vector<StatusSetting> settings = statusSettings(status);
    std::erase_if(settings, [cut](const StatusSetting& setting) { return setting.cut != cut; });
    return settings;
}

View statusThatFits(const std::vector<StatusSetting>& settings,
                    const std::function<View(const StatusSetting&)>& arrangement) {
    std::vector<View> choices;
    for (const StatusSetting& setting : settings) choices.push_back(arrangement(setting));
    return viewThatFits(std::move(choices));
}

View fitted(const View& text, int lines, const StatusSetting& setting) {
    const View limited = text.lineLimit(lines).minimumScaleFactor(setting.leastScale);
    return (setting.cut == StatusSetting::Cut::never ? limited.wantedWhole() : limited).paragraph();
}

View primaryLine(const presentation::StatusPair& status, const StatusSetting& setting) {
    const StyledText words{status.primary, Color::primary(), FontWeight::medium, TextStyle::subheadline};
    return fitted(words.body(), setting.primaryLines, setting);
}

View secondaryLine(const presentation::StatusPair& status, const StatusSetting& setting) {
    if (!status.secondary) return View();
    return fitted(quiet(*status.secondary).body(), setting.secondaryLines, setting);
}

View statusLines(const presentation::Package& package, const StatusSetting& setting) {
    const presentation::StatusPair status = package.statusText();
    std::vector<View> rows = {primaryLine(status, setting).padding({.top = 4})};
    if (status.secondary) rows.push_back(secondaryLine(status, setting).padding({.top = 4}));
    return verticalStack({.alignment = HorizontalAlignment::leading, .spacing = 0}, rows)
        .frame({.maxWidth = infinity, .alignment = Alignment::leading});
}

View packageRow(const presentation::Package& package, const ViewEnvironment& environment,
                const StatusSetting& setting, const View& besideName) {
    const View merchant =
        footnote(package.shopName()).frame({.maxWidth = infinity, .alignment = Alignment::leading});
    const View name = horizontalStack({.spacing = 6}, {merchant, besideName});
    const View words = verticalStack({.alignment = HorizontalAlignment::leading, .spacing = 0},
                                     {name, statusLines(package, setting)});
    return horizontalStack({.spacing = 10}, {
                                                shopPicture(package, WidgetImageSize::medium, environment),
                                                words,
                                                productPicture(package, WidgetImageSize::medium, environment),
                                            });
}

View mediumBody(const presentation::Package& package, const ViewEnvironment& environment,
                WidgetImageSize size, const StatusSetting& setting, const View& corner) {
    const View merchant = horizontalStack({.spacing = 10}, {
                                                               shopPicture(package, size, environment),
                                                               footnote(package.shopName()),
                                                           });
    const View header =
        horizontalStack({.alignment = VerticalAlignment::top, .spacing = 0}, {merchant, spacer(10), corner});
    const View status = horizontalStack({.alignment = VerticalAlignment::bottom, .spacing = 10},
                                        {
                                            statusLines(package, setting),
                                            productPicture(package, size, environment),
                                        });
    const View bar = progressBar(package, environment).padding({.top = 10});
    return verticalStack({.spacing = 0}, {header, spacer(), status, bar});
}

View footnote(const std::string& words) {
    return quiet(words).body().lineLimit(1).minimumScaleFactor(tightest).paragraph();
}

bool showsShopPicture(const presentation::Package& package, WidgetImageSize size,
                      const ViewEnvironment& environment) {
    const std::optional<platform::URL> url = package.shopImage();
    return url && environment.pictures.picture(*url, points(size));
}

View shopPicture(const presentation::Package& package, WidgetImageSize size,
                 const ViewEnvironment& environment) {
    return visible(
        {package.shopImage(), points(size), initial(package.shopName()), ContentMode::fit, "Parcel"},
        environment);
}

View productPicture(const presentation::Package& package, WidgetImageSize size,
                    const ViewEnvironment& environment) {
    const std::optional<platform::URL> url = package.productImage();
    if (!url) return View();
    return visible({url, points(size), "", ContentMode::fill, "Parcel"}, environment);
}

View progressBar(const presentation::Package& package, const ViewEnvironment& environment, double height,
                 const Color& color) {
    if (isRedacted(environment)) {
        return block(height / 2).frame({.height = height}).padding({.bottom = height / 2});
    }
    const float progress = package.progress();
    return ProgressBar{progress, height, color}
        .body()
        .overlay(gap(progress, height, environment.colorScheme))
        .padding({.leading = progress > 0 ? 0 : height, .bottom = height / 2, .trailing = height});
}

View progressBar(const presentation::Package& package, const ViewEnvironment& environment) {
    return progressBar(package, environment, 4, doneColor(environment));
}

}  // namespace widget
