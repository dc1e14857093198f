// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/DorvoSupport/DateRules.hpp"

#include "platform/Calendar/TimeZone.hpp"
#include "platform/DateFormatter/DateFormatter.hpp"

namespace VelaApi {
namespace {

constexpr const char* pattern = "yyyy-MM-dd'T'HH:mm:ssZ";

const platform::DateFormatter& decodingFormatter() {
    static const platform::DateFormatter formatter(pattern, platform::TimeZone::gmt());
    return formatter;
}

const platform::DateFormatter& encodingFormatter() {
    static const platform::DateFormatter formatter(pattern);
    return formatter;
}

}  // namespace

platform::Date decodedDate(const platform::Decoder& decoder) {
    const std::optional<platform::Date> parsed = decodingFormatter().date(decoder.string());
    if (!parsed) return platform::Date::now();
    return parsed->addingTimeInterval(-platform::TimeZone::current().secondsFromGMT(*parsed));
}

void encodeDate(platform::Date date, platform::Encoder& encoder) {
    encoder.write(std::string_view(encodingFormatter().string(date)));
}

}  // namespace VelaApi
