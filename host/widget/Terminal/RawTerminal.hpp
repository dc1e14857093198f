// SPDX-License-Identifier: Apache-2.0

#pragma once

// The person's terminal, taken over for a view that fills it: the alternate screen, no cursor, and each key
// as it is pressed. It is given back as it was with the object, and ahead of the end of a process that dies
// of a signal or of an exception; after SIGKILL nobody can. One at a time, for the thread that made it.

#include <cstddef>
#include <string_view>

namespace host {

class RawTerminal {
  public:
    struct Size {
        std::size_t rows;
        std::size_t columns;
    };

    /// Standard input and standard output are a terminal that understands cursor movement.
    static bool isAvailable();

    /// Takes it over. Throws std::system_error.
    RawTerminal();
    ~RawTerminal();
    RawTerminal(const RawTerminal&) = delete;
    RawTerminal& operator=(const RawTerminal&) = delete;

    /// Gives it back, and takes it again, for a job that is stopped and goes on.
    void leave();
    void enter();

    Size size() const;
    /// Where it cannot be written, it has gone.
    bool write(std::string_view text) const;
};

}  // namespace host
