// SPDX-License-Identifier: Apache-2.0

#include "platform/Streams/Deadline.hpp"

#include <algorithm>

namespace platform {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

Deadline::Deadline(milliseconds limit) : limit_(limit), end_(steady_clock::now() + limit) {}

Deadline Deadline::within(milliseconds limit) const {
    const Deadline other(limit);
    return other.end_ < end_ ? other : *this;
}

milliseconds Deadline::rest() const {
    return std::max(std::chrono::ceil<milliseconds>(end_ - steady_clock::now()), milliseconds(0));
}

std::string Deadline::limitInWords() const {
    if (limit_ < seconds(1)) return std::to_string(limit_.count()) + " ms";
    return std::to_string(std::chrono::ceil<seconds>(limit_).count()) + " s";
}

}  // namespace platform
