// SPDX-License-Identifier: Apache-2.0

#include "widget/EntryLayout.hpp"

#include <algorithm>

#include "widget/TrackingWidgetEntryView.hpp"

namespace widget {

using namespace drawing;

namespace {

TextSize nextBelow(TextSize size) {
    return *(std::find(allTextSizes.begin(), allTextSizes.end(), size) - 1);
}

}  // namespace

DisplayList laidOut(const SimpleEntry& entry, const ViewEnvironment& environment,
                    const WidgetContainer& container, const TextMeasurer& measurer) {
    ViewEnvironment tried = environment;
    for (;;) {
        DisplayList list = displayList(TrackingWidgetEntryView{entry}.body(tried), container, measurer);
        TextSize& size = tried.appearance.textSize;
        if (list.isWhole || !isEnlarged(size)) return list;
        size = nextBelow(size);
    }
}

}  // namespace widget
