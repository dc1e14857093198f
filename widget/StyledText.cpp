// SPDX-License-Identifier: Apache-2.0

#include "widget/StyledText.hpp"

namespace widget {

using drawing::View;

View StyledText::body() const {
    View view = drawing::text(text).foregroundColor(color);
    view = drawing::applying(view, fontWeight, &View::fontWeight);
    view = drawing::applying(view, font, &View::font);
    return view;
}

}  // namespace widget
