// SPDX-License-Identifier: Apache-2.0

#include "widget/ConfigurationAppIntent.hpp"

#include "presentation/Wording.hpp"

namespace widget {

const std::string& ConfigurationAppIntent::title() {
    static const std::string title(presentation::Wording::widgetName);
    return title;
}

}  // namespace widget
