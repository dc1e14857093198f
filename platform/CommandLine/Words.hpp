// SPDX-License-Identifier: Apache-2.0

#pragma once

// Words that a person types on our command lines.

#include <optional>
#include <string>
#include <vector>

namespace platform {

/// The names under which a person may ask for a family.
std::vector<std::string> familyNames();

/// The one of `words` that `word` was probably meant to be; nothing when it is far from all of them.
std::optional<std::string> nearestWord(const std::string& word, const std::vector<std::string>& words);

}  // namespace platform
