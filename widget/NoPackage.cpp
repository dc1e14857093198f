#include "widget/NoPackage.hpp"

#include "platform/Log/Logger.hpp"
#include "widget/Prompt.hpp"
#include "widget/StyledText.hpp"

namespace widget {

using namespace platform;

namespace {

const URL& addDelivery() {
    static const std::optional<URL> url = URL::parse("velaapp://add_delivery");
    if (!url) fatalError("The link to add an order does not parse");
    return *url;
}

}  // namespace

View NoPackage::body() const {
    const auto words = [](const char* text, TextStyle font) {
        return StyledText{text, Color::primary(), FontWeight::medium, font}.body();
    };
    const char* const nothing = "You have no new orders to track";
    const char* const whatToDo = "Add order to track";

    const View large =
        prompt(colorScheme, View(),
               {
                   words(nothing, TextStyle::title),
                   promptButton(whatToDo, TextStyle::body).link(addDelivery()).padding({.top = 12}),
               });
    const View medium = prompt(colorScheme, View(),
                               {
                                   words(nothing, TextStyle::body),
                                   promptButton(whatToDo, TextStyle::subheadline).link(addDelivery()),
                               });
    const View small = prompt(colorScheme, View(),
                              {
                                  words(nothing, TextStyle::subheadline).lineLimit(2),
                                  promptButton(whatToDo, TextStyle::footnote),
                              })
                           .widgetURL(addDelivery());
    switch (family) {
        case WidgetFamily::systemLarge:
        case WidgetFamily::systemExtraLarge: return viewThatFits({large, medium, small});
        case WidgetFamily::systemMedium: return viewThatFits({medium, small});
        case WidgetFamily::systemSmall:
        case WidgetFamily::other: return small;
        case WidgetFamily::accessoryCircular:
        case WidgetFamily::accessoryRectangular:
            return accessoryPrompt(colorScheme, nothing).widgetURL(addDelivery());
        case WidgetFamily::accessoryInline: return inlinePrompt(whatToDo).widgetURL(addDelivery());
    }
    return View();
}

}  // namespace widget
