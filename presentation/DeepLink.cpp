#include "presentation/DeepLink.hpp"

#include <optional>

#include "platform/Log/Logger.hpp"

namespace presentation {

platform::URL deepLink(const std::string& text) {
    const std::optional<platform::URL> link = platform::URL::parse(text);
    if (!link) platform::fatalError("A deep link into the companion app does not parse");
    return *link;
}

}  // namespace presentation
