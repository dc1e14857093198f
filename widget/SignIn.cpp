#include "widget/SignIn.hpp"

#include "widget/Prompt.hpp"
#include "widget/StyledText.hpp"

namespace widget {

using namespace platform;

View SignIn::body() const {
    const auto words = [](const char* text, TextStyle font) {
        return StyledText{text, Color::primary(), FontWeight::medium, font}.body();
    };
    const char* const invitation = "Track your orders in a glance.";
    const char* const explanation = "Sign in to track your orders in a glance";
    const char* const shortest = "Sign in to Vela";

    switch (family) {
        case WidgetFamily::systemLarge:
        case WidgetFamily::systemExtraLarge:
            return prompt(colorScheme, {
                                           words(invitation, TextStyle::title),
                                           words(explanation, TextStyle::body).padding({.top = 12}),
                                           promptButton("Sign In", TextStyle::body).padding({.top = 12}),
                                       });
        case WidgetFamily::systemMedium:
            return prompt(colorScheme, {
                                           words(explanation, TextStyle::body).lineLimit(2),
                                           promptButton("Sign In", TextStyle::subheadline),
                                       });
        case WidgetFamily::systemSmall:
        case WidgetFamily::other:
            return prompt(colorScheme, {
                                           words(shortest, TextStyle::subheadline).lineLimit(2),
                                           promptButton("Sign In", TextStyle::subheadline),
                                       });
        case WidgetFamily::accessoryCircular:
        case WidgetFamily::accessoryRectangular:
            return accessoryPrompt(colorScheme, shortest, TextStyle::subheadline, 3);
        case WidgetFamily::accessoryInline:
            return accessoryPrompt(colorScheme, shortest, TextStyle::subheadline, 1);
    }
    return View();
}

}  // namespace widget
