// SPDX-License-Identifier: Apache-2.0

#include "platform/Date/LocaleWords.hpp"

#include <unicode/dtfmtsym.h>
#include <unicode/locid.h>
#include <unicode/ures.h>

#include <memory>

namespace platform {

namespace {

/// Whether ICU has any data for the language. The data of another language, its answer of last resort, does
/// not count.
bool hasData(const icu::Locale& locale) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<UResourceBundle, decltype(&ures_close)> bundle(
        ures_open(nullptr, locale.getName(), &status), &ures_close);
    return U_SUCCESS(status) && status != U_USING_DEFAULT_WARNING;
}

/// Some languages have data, but no names of months among them.
bool namesMonths(const icu::Locale& locale) {
    UErrorCode status = U_ZERO_ERROR;
    const icu::DateFormatSymbols symbols(locale, "gregorian", status);
    int count = 0;
    const auto* months =
        symbols.getMonths(count, icu::DateFormatSymbols::FORMAT, icu::DateFormatSymbols::ABBREVIATED);
    return U_SUCCESS(status) && count > 2 && months[2] != u"M03";
}

bool hasWords(const icu::Locale& locale) {
    return *locale.getLanguage() && hasData(locale) && namesMonths(locale);
}

}  // namespace

std::optional<std::string> localeWithWords(const std::string& identifier) {
    if (hasWords(icu::Locale(identifier.c_str()))) return identifier;
    const auto canonical = icu::Locale::createCanonical(identifier.c_str());
    if (hasWords(canonical)) return canonical.getName();
    return std::nullopt;
}

}  // namespace platform
