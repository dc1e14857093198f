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

    switch (family) {
        case WidgetFamily::systemLarge:
        case WidgetFamily::systemExtraLarge:
            return prompt(
                colorScheme,
                {
                    words(nothing, TextStyle::title),
                    promptButton(whatToDo, TextStyle::body).link(addDelivery()).padding({.top = 12}),
                });
        case WidgetFamily::systemMedium:
            return prompt(colorScheme, {
                                           words(nothing, TextStyle::body).lineLimit(2),
                                           promptButton(whatToDo, TextStyle::subheadline).link(addDelivery()),
                                       });
        case WidgetFamily::systemSmall:
        case WidgetFamily::other:
            return prompt(colorScheme,
                          {
                              words(nothing, TextStyle::subheadline).lineLimit(2),
                              promptButton(whatToDo, TextStyle::footnote),
                          })
                .widgetURL(addDelivery());
        case WidgetFamily::accessoryCircular:
        case WidgetFamily::accessoryRectangular:
            return accessoryPrompt(colorScheme, nothing, TextStyle::subheadline, 3).widgetURL(addDelivery());
        case WidgetFamily::accessoryInline:
            return accessoryPrompt(colorScheme, whatToDo, TextStyle::subheadline, 1).widgetURL(addDelivery());
    }
    return View();
}

}  // namespace widget
