// SPDX-License-Identifier: Apache-2.0

#pragma once

// The clicks that a bar tells on a block's standard input: an array of JSON objects without an end, or an
// object a line, each with a "button", or the button's number alone on a line. What is neither is passed
// over. A plain value.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace host {

class ClickReader {
  public:
    /// Bytes of one click, at most.
    static constexpr std::size_t longestClick = std::size_t{16} << 10;

    /// The buttons of the clicks that are complete with it: 1 is the left one, 4 and 5 the wheel.
    std::vector<int> take(std::string_view bytes);

  private:
    void takeByte(char byte, std::vector<int>& buttons);
    void takeWithinObject(char byte, std::vector<int>& buttons);

    std::string text_;
    std::size_t depth_ = 0;
    bool isWithinString_ = false;
    bool isEscaped_ = false;
};

}  // namespace host
