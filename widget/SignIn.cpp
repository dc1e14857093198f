// SPDX-License-Identifier: Apache-2.0

#include "widget/SignIn.hpp"

#include "presentation/Wording.hpp"
#include "widget/Prompt.hpp"

namespace widget {

using namespace drawing;
using presentation::Wording;

View SignIn::body() const {
    // Each of the texts has its family: one beneath the other they say one thing three times.
    const View large =
        prompt(colorScheme, {
                                promptWords(Wording::invitation, TextStyle::title),
                                promptWords(Wording::signInToTheApp, TextStyle::body).padding({.top = 12}),
                                promptButton(Wording::signIn, TextStyle::body).padding({.top = 12}),
                            });
    const View medium = prompt(colorScheme, {
                                                promptWords(Wording::whySignIn, TextStyle::body),
                                                promptButton(Wording::signIn, TextStyle::subheadline),
                                            });
    const View small =
        prompt(colorScheme, {
                                promptWords(Wording::signInToTheApp, TextStyle::subheadline).lineLimit(2),
                                promptButton(Wording::signIn, TextStyle::subheadline),
                            });
    const View low = lowPrompt(colorScheme, promptWords(Wording::whySignIn, TextStyle::body),
                               promptButton(Wording::signIn, TextStyle::subheadline));
    switch (family) {
        case platform::WidgetFamily::systemLarge:
        case platform::WidgetFamily::systemExtraLarge:
            return isEnlarged(textSize) ? large : viewThatFits({large, medium, small});
        case platform::WidgetFamily::systemMedium:
            if (isEnlarged(textSize)) return viewThatFits({medium, low, small});
            return viewThatFits({medium, small});
        case platform::WidgetFamily::systemSmall:
        case platform::WidgetFamily::other: return small;
        case platform::WidgetFamily::accessoryCircular:
        case platform::WidgetFamily::accessoryRectangular:
            return accessoryPrompt(colorScheme, Wording::signInToTheApp);
        case platform::WidgetFamily::accessoryInline:
            return inlinePrompt(colorScheme, Wording::signInToTheApp, textSize);
    }
    return View();
}

}  // namespace widget
