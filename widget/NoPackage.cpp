// SPDX-License-Identifier: Apache-2.0

#include "widget/NoPackage.hpp"

#include "presentation/DeepLink.hpp"
#include "presentation/Wording.hpp"
#include "widget/PackageBody.hpp"
#include "widget/Prompt.hpp"

namespace widget {

using namespace drawing;
using presentation::Wording;

View NoPackage::body() const {
    const platform::URL addDelivery = presentation::DeepLink::addDelivery();

    const View large =
        prompt(colorScheme,
               {
                   promptWords(Wording::nothingToTrack, TextStyle::title),
                   promptButton(Wording::addOrder, TextStyle::body).link(addDelivery).padding({.top = 12}),
               });
    const View medium =
        prompt(colorScheme, {
                                promptWords(Wording::nothingToTrack, TextStyle::body),
                                promptButton(Wording::addOrder, TextStyle::subheadline).link(addDelivery),
                            });
    const View button = promptButton(Wording::addOrder, TextStyle::subheadline);
    const View small = prompt(colorScheme,
                              {
                                  promptWords(Wording::nothingToTrack, TextStyle::subheadline).lineLimit(2),
                                  // As wide as the words of a small button may be.
                                  isEnlarged(textSize) ? button : button.minimumScaleFactor(tightest),
                              })
                           .widgetURL(addDelivery);
    const View low = lowPrompt(colorScheme, promptWords(Wording::nothingToTrack, TextStyle::body),
                               button.link(addDelivery));
    switch (family) {
        case platform::WidgetFamily::systemLarge:
        case platform::WidgetFamily::systemExtraLarge:
            return isEnlarged(textSize) ? large : viewThatFits({large, medium, small});
        case platform::WidgetFamily::systemMedium:
            return viewThatFits({medium, isEnlarged(textSize) ? low : small});
        case platform::WidgetFamily::systemSmall:
        case platform::WidgetFamily::other: return small;
        case platform::WidgetFamily::accessoryCircular:
        case platform::WidgetFamily::accessoryRectangular:
            return accessoryPrompt(colorScheme, Wording::nothingToTrack).widgetURL(addDelivery);
        case platform::WidgetFamily::accessoryInline:
            return inlinePrompt(colorScheme, Wording::addOrder, textSize).widgetURL(addDelivery);
    }
    return View();
}

}  // namespace widget
