// SPDX-License-Identifier: Apache-2.0

#pragma once

// ICU regular expressions over UTF-8 text whose ranges count UTF-16 units, as the platform's expressions do.
// A value; matching is safe from any thread.

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

class RegularExpression {
  public:
    /// Nothing when the pattern does not compile.
    static std::optional<RegularExpression> compile(std::string_view pattern);

    /// `text` with every match inside its first `rangeLength` UTF-16 units replaced by `replacement`, in
    /// which "$1" to "$9" stand for groups; what lies behind the range is kept as it is and is not seen by
    /// the match. A range longer than the text is cut to it. A replacement that names a group which is not
    /// there changes nothing.
    std::string replacingMatches(std::string_view text, std::size_t rangeLength,
                                 std::string_view replacement) const;

  private:
    struct Pattern;
    explicit RegularExpression(std::shared_ptr<const Pattern> pattern);
    std::shared_ptr<const Pattern> pattern_;
};

}  // namespace platform
