// SPDX-License-Identifier: Apache-2.0

#include "host/reader/Markup.hpp"

namespace host {

std::string escapedForMarkup(std::string_view text) {
    std::string escaped;
    for (const char character : text) {
        switch (character) {
            case '&': escaped += "&amp;"; break;
            case '<': escaped += "&lt;"; break;
            case '>': escaped += "&gt;"; break;
            case '"': escaped += "&quot;"; break;
            case '\'': escaped += "&apos;"; break;
            default: escaped += character;
        }
    }
    return escaped;
}

}  // namespace host
