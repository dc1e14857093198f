// SPDX-License-Identifier: Apache-2.0

#include "presentation/Package.hpp"

namespace presentation {

bool showsTheSame(const Package& first, const Package& second) {
    return first.shopName() == second.shopName() && first.deepLinkingUrl() == second.deepLinkingUrl() &&
           first.shopImage() == second.shopImage() && first.productImage() == second.productImage() &&
           first.progress() == second.progress() && first.statusText() == second.statusText();
}

}  // namespace presentation
