// SPDX-License-Identifier: Apache-2.0

// Data URLs: what is in one comes out, whichever way it was put in; any other text is none or shorter than
// itself.

#include <string>

#include "fuzz/Require.hpp"
#include "platform/URLSession/DataURL.hpp"

namespace {

std::string percentEncoded(std::string_view bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text.append({'%', digits[byte >> 4], digits[byte & 15]});
    }
    return text;
}

std::string base64(std::string_view bytes) {
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const auto part = bytes.substr(at, 3);
        unsigned bits = 0;
        for (std::size_t index = 0; index < 3; ++index)
            bits = bits << 8 | (index < part.size() ? static_cast<unsigned char>(part[index]) : 0u);
        for (std::size_t index = 0; index < 4; ++index)
            text += index <= part.size() ? digits[bits >> (18 - 6 * index) & 63] : '=';
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    using platform::dataOfDataURL;
    const auto whole = text(input, size);
    if (const auto data = dataOfDataURL(whole)) require(data->size() <= whole.size(), "nothing grows");
    if (const auto data = dataOfDataURL("data:;base64," + std::string(whole)))
        require(data->size() <= (whole.size() + 3) / 4 * 3, "four digits hold three bytes");
    require(dataOfDataURL("data:," + percentEncoded(whole)) == whole, "percent-encoded bytes come back");
    require(dataOfDataURL("data:image/png;BASE64," + base64(whole)) == whole, "bytes in base 64 come back");
    return 0;
}
