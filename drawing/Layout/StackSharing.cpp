// SPDX-License-Identifier: Apache-2.0

#include "drawing/Layout/StackSharing.hpp"

#include <algorithm>
#include <cstddef>
#include <numeric>

namespace drawing {

std::vector<double> shareOut(double available, const std::vector<StackChild>& children) {
    std::vector<std::size_t> order(children.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto flexibility = [&](std::size_t index) {
        return children[index].maximum - children[index].minimum;
    };
    std::stable_sort(order.begin(), order.end(), [&](std::size_t first, std::size_t second) {
        if (children[first].priority != children[second].priority) {
            return children[first].priority > children[second].priority;
        }
        return flexibility(first) < flexibility(second);
    });

    std::vector<double> lengths(children.size());
    double left = available;
    for (const StackChild& child : children) left -= child.minimum;

    for (std::size_t begin = 0, end = 0; begin < order.size(); begin = end) {
        const double priority = children[order[begin]].priority;
        while (end < order.size() && children[order[end]].priority == priority) {
            left += children[order[end]].minimum;
            ++end;
        }
        for (std::size_t turn = begin; turn < end; ++turn) {
            const StackChild& child = children[order[turn]];
            const double part = left / static_cast<double>(end - turn);
            const double length = std::max(child.minimum, std::min(part, child.maximum));
            lengths[order[turn]] = length;
            left -= length;
        }
    }
    return lengths;
}

}  // namespace drawing
