#include "widget/StyledText.hpp"

namespace widget {

using platform::View;

View StyledText::body() const {
    View view = platform::text(text).foregroundColor(color);
    view = platform::applying(view, fontWeight, &View::fontWeight);
    view = platform::applying(view, font, &View::font);
    return view;
}

}  // namespace widget
