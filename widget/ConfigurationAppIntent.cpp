#include "widget/ConfigurationAppIntent.hpp"

namespace widget {

const std::string& ConfigurationAppIntent::title() {
    static const std::string title = "Tracking Widget";
    return title;
}

}  // namespace widget
