// SPDX-License-Identifier: Apache-2.0

#include "platform/Text/Markup.hpp"

namespace platform {

std::string escapedForMarkup(std::string_view text) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
            case '&': escaped += "&amp;"; break;
            case '<': escaped += "&lt;"; break;
            case '>': escaped += "&gt;"; break;
            case '"': escaped += "&quot;"; break;
            case '\'': escaped += "&#39;"; break;
            default: escaped += character;
        }
    }
    return escaped;
}

}  // namespace platform
