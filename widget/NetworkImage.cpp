// SPDX-License-Identifier: Apache-2.0

#include "widget/NetworkImage.hpp"

#include <memory>

#include "platform/Text/Text.hpp"

namespace widget {

using namespace drawing;

View NetworkImage::body(ScaledPictures& pictures) const {
    const std::shared_ptr<const Bitmap> picture = url ? pictures.picture(*url, imageSize) : nullptr;
    if (!picture) return placeholder();
    const Size size{picture->width() / pictures.displayScale(), picture->height() / pictures.displayScale()};
    return image(picture, size, *url, contentMode)
        .frame({.width = imageSize, .height = imageSize})
        .clipped(cornerRadius)
        .overlay(roundedRectangleStroke(cornerRadius, Color::asset("BorderImage"), 1));
}

// White reads well on the light value alone. The letter is a picture and stays as large as that.
View NetworkImage::placeholder() const {
    const View ground = roundedRectangle(cornerRadius, Color::asset("TextTertiaryColor"))
                            .colorScheme(ColorScheme::light)
                            .frame({.width = imageSize, .height = imageSize});
    if (name.empty() && !sign.empty())
        return ground.overlay(image(sign).frame({.width = imageSize / 2, .height = imageSize / 2}));
    return ground.overlay(text(name)
                              .font(TextStyle::headline)
                              .textSize(TextSize::large)
                              .foregroundColor(Color::white())
                              .lineLimit(1)
                              .padding(EdgeInsets::horizontal(4)));
}

std::string initial(const std::string& shopName) {
    for (const std::string_view character : platform::characters(shopName)) {
        const bool isBlank = static_cast<unsigned char>(character.front()) <= ' ';
        if (!isBlank && platform::terminalColumns(character) > 0) return std::string(character);
    }
    return {};
}

}  // namespace widget
