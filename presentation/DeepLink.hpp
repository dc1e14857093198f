#pragma once

// Links into the companion app. Safe from any thread.

#include <string>

#include "platform/URL/URL.hpp"

namespace presentation {

/// A link that does not parse stops the process: there is nothing to fall back on.
platform::URL deepLink(const std::string& text);

}  // namespace presentation
