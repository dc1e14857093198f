// SPDX-License-Identifier: Apache-2.0

#include "VelaApi/Sources/VelaApi/DorvoSupport/BaseCustomScalarResolver.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "VelaApi/Sources/VelaApi/DorvoSupport/GraphQLCoding.hpp"
#include "platform/JSON/Coding.hpp"

namespace VelaApi {
namespace {

/// An amount of money, "12.50" on the wire.
struct Money {
    long cents;
    bool operator==(const Money&) const = default;
};

Money money(const std::string& raw) {
    const std::size_t point = raw.find('.');
    if (point == std::string::npos) throw BaseCustomScalarResolver::ResolverError(typeid(Money));
    return {std::stol(raw.substr(0, point)) * 100 + std::stol(raw.substr(point + 1))};
}

std::string text(const Money& amount) {
    return std::to_string(amount.cents / 100) + "." + std::to_string(amount.cents % 100);
}

struct Invoice {
    Money total;
    std::vector<Money> parts;
    std::optional<Money> tip;

    static Invoice decode(const platform::Decoder& decoder) {
        const BaseCustomScalarResolver resolver;
        const platform::KeyedDecodingContainer container = decoder.container();
        return {resolver.decode<Money, std::string>("total", container, money),
                resolver.decodeList<Money, std::string>("parts", container, money),
                resolver.decodeIfPresent<Money, std::string>("tip", container, money)};
    }

    void encode(platform::Encoder& encoder) const {
        const BaseCustomScalarResolver resolver;
        platform::KeyedEncodingContainer container = encoder.container();
        resolver.encode<std::string>(total, "total", container, text);
        resolver.encodeList<std::string>(parts, "parts", container, text);
        resolver.encodeIfPresent<std::string>(tip, "tip", container, text);
    }

    bool operator==(const Invoice&) const = default;
};

Invoice decoded(std::string_view json) {
    return GraphQLDecoder().decode<Invoice>(json);
}

TEST(BaseCustomScalarResolver, ResolvesAValueAListAndAnOptional) {
    EXPECT_EQ(decoded(R"({"total": "12.50", "parts": ["2.25", "10.25"], "tip": "1.10"})"),
              (Invoice{{1250}, {{225}, {1025}}, Money{110}}));
}

TEST(BaseCustomScalarResolver, ReadsAMissingOrNullOptionalAsAbsent) {
    EXPECT_EQ(decoded(R"({"total": "1.10", "parts": []})").tip, std::nullopt);
    EXPECT_EQ(decoded(R"({"total": "1.10", "parts": [], "tip": null})").tip, std::nullopt);
}

TEST(BaseCustomScalarResolver, FailsAsTheContainerFails) {
    for (const char* json :
         {R"({"parts": []})", R"({"total": null, "parts": []})", R"({"total": 12.5, "parts": []})",
          R"({"total": "1.10"})", R"({"total": "1.10", "parts": "2.25"})",
          R"({"total": "1.10", "parts": [null]})", R"({"total": "1.10", "parts": [], "tip": 1})"}) {
        EXPECT_THROW(decoded(json), platform::DecodingError) << json;
    }
}

TEST(BaseCustomScalarResolver, PassesTheResolversFailureThrough) {
    try {
        decoded(R"({"total": "much", "parts": []})");
        FAIL();
    } catch (const BaseCustomScalarResolver::ResolverError& error) {
        EXPECT_EQ(error.type, std::type_index(typeid(Money)));
    }
}

TEST(BaseCustomScalarResolver, WritesWhatTheResolverGivesAndNothingForAnAbsentValue) {
    EXPECT_EQ(GraphQLEncoder().encode(Invoice{{1250}, {{225}, {1025}}, Money{110}}),
              R"({"total":"12.50","parts":["2.25","10.25"],"tip":"1.10"})");
    EXPECT_EQ(GraphQLEncoder().encode(Invoice{{1250}, {}, std::nullopt}), R"({"total":"12.50","parts":[]})");
}

}  // namespace
}  // namespace VelaApi
