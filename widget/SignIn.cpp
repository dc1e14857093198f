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

    const View caption = words(shortest, TextStyle::subheadline).lineLimit(1);
    const View large = prompt(colorScheme, caption,
                              {
                                  words(invitation, TextStyle::title),
                                  words(explanation, TextStyle::body).padding({.top = 12}),
                                  promptButton("Sign In", TextStyle::body).padding({.top = 12}),
                              });
    const View medium = prompt(colorScheme, caption,
                               {
                                   words(invitation, TextStyle::body),
                                   words(explanation, TextStyle::subheadline).padding({.top = 2}),
                                   promptButton("Sign In", TextStyle::subheadline),
                               });
    const View small = prompt(colorScheme, View(),
                              {
                                  words(shortest, TextStyle::subheadline).lineLimit(2),
                                  promptButton("Sign In", TextStyle::subheadline),
                              });
    switch (family) {
        case WidgetFamily::systemLarge:
        case WidgetFamily::systemExtraLarge: return viewThatFits({large, medium, small});
        case WidgetFamily::systemMedium: return viewThatFits({medium, small});
        case WidgetFamily::systemSmall:
        case WidgetFamily::other: return small;
        case WidgetFamily::accessoryCircular:
        case WidgetFamily::accessoryRectangular: return accessoryPrompt(colorScheme, shortest);
        case WidgetFamily::accessoryInline: return inlinePrompt(shortest);
    }
    return View();
}

}  // namespace widget
