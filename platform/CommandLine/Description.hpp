// SPDX-License-Identifier: Apache-2.0

#pragma once

// A command line as a JSON text, for whoever makes manual pages and completions of it. Pure, safe from any
// thread that does not parse meanwhile.

#include <string>

namespace CLI {
class App;
}  // namespace CLI

namespace platform {

/// An object of `name`, `description`, `footer`, `options` and `commands`, each of which is such an object.
/// An option has `names` (none for a place in the line, which has a `place`), `description`, `group`, `value`
/// (what stands for it, null for a flag), `choices`, `default`, `isRequired` and `isRepeated`.
std::string describedCommandLine(const CLI::App& app);

}  // namespace platform
