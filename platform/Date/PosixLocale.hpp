// SPDX-License-Identifier: Apache-2.0

#pragma once

// A locale name as the environment spells it, "de_DE.UTF-8@euro": language, territory, codeset and modifier.
// A plain value.

#include <optional>
#include <string>
#include <string_view>

namespace platform {

struct PosixLocale {
    std::string language;
    std::string script = {};
    std::string region = {};
    std::string variant = {};

    /// Nothing for "C", "POSIX" and whatever is not a locale name. The codeset is of no interest here; of the
    /// modifiers, those that name a script or a variant of the language count.
    static std::optional<PosixLocale> parse(std::string_view name);

    /// "sr_Latn_RS", as ICU names locales.
    std::string identifier() const;
    /// "sr-Latn-RS", a language tag (RFC 5646).
    std::string languageTag() const;

    bool operator==(const PosixLocale&) const = default;
};

}  // namespace platform
