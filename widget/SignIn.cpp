// SPDX-License-Identifier: Apache-2.0

#include "widget/SignIn.hpp"

#include "presentation/Wording.hpp"
#include "widget/Prompt.hpp"

namespace widget {

using namespace drawing;
using presentation::Wording;

View SignIn::body() const {
    const View caption = promptWords(Wording::signInToTheApp, TextStyle::subheadline).lineLimit(1);
    const View large = prompt(colorScheme, caption,
                              {
                                  promptWords(Wording::invitation, TextStyle::title),
                                  promptWords(Wording::whySignIn, TextStyle::body).padding({.top = 12}),
                                  promptButton(Wording::signIn, TextStyle::body).padding({.top = 12}),
                              });
    const View medium =
        prompt(colorScheme, caption,
               {
                   promptWords(Wording::invitation, TextStyle::body),
                   promptWords(Wording::whySignIn, TextStyle::subheadline).padding({.top = 2}),
                   promptButton(Wording::signIn, TextStyle::subheadline),
               });
    const View small = prompt(colorScheme, View(),
                              {
                                  promptWords(Wording::signInToTheApp, TextStyle::subheadline).lineLimit(2),
                                  promptButton(Wording::signIn, TextStyle::subheadline),
                              });
    switch (family) {
        case platform::WidgetFamily::systemLarge:
        case platform::WidgetFamily::systemExtraLarge: return viewThatFits({large, medium, small});
        case platform::WidgetFamily::systemMedium: return viewThatFits({medium, small});
        case platform::WidgetFamily::systemSmall:
        case platform::WidgetFamily::other: return small;
        case platform::WidgetFamily::accessoryCircular:
        case platform::WidgetFamily::accessoryRectangular:
            return accessoryPrompt(colorScheme, Wording::signInToTheApp);
        case platform::WidgetFamily::accessoryInline: return inlinePrompt(Wording::signInToTheApp);
    }
    return View();
}

}  // namespace widget
