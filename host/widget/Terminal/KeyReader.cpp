// SPDX-License-Identifier: Apache-2.0

#include "host/widget/Terminal/KeyReader.hpp"

#include <array>
#include <utility>

namespace host {

namespace {

constexpr char escape = '\x1b';

struct KeyRow {
    std::string_view bytes;
    Key key;
};
constexpr std::array keyRows = {
    KeyRow{"k", Key::up},           KeyRow{"\x1b[A", Key::up},        KeyRow{"\x1bOA", Key::up},
    KeyRow{"j", Key::down},         KeyRow{"\x1b[B", Key::down},      KeyRow{"\x1bOB", Key::down},
    KeyRow{"\x1b[5~", Key::pageUp}, KeyRow{"\x1b[6~", Key::pageDown}, KeyRow{" ", Key::pageDown},
    KeyRow{"g", Key::first},        KeyRow{"\x1b[H", Key::first},     KeyRow{"\x1bOH", Key::first},
    KeyRow{"\x1b[1~", Key::first},  KeyRow{"\x1b[7~", Key::first},    KeyRow{"G", Key::last},
    KeyRow{"\x1b[F", Key::last},    KeyRow{"\x1bOF", Key::last},      KeyRow{"\x1b[4~", Key::last},
    KeyRow{"\x1b[8~", Key::last},   KeyRow{"\r", Key::open},          KeyRow{"\n", Key::open},
    KeyRow{"o", Key::open},         KeyRow{"y", Key::copy},           KeyRow{"c", Key::copy},
    KeyRow{"r", Key::reload},       KeyRow{"?", Key::help},           KeyRow{"h", Key::help},
    KeyRow{"\x0c", Key::redraw},    KeyRow{"q", Key::quit},
};

/// Whether `byte` ends a sequence of which that has come (ECMA-48, 5.4).
bool isEnd(std::string_view sequence, char byte) {
    if (sequence.size() == 1) return byte != '[' && byte != 'O';
    if (sequence[1] == 'O') return true;
    return byte >= 0x40 && byte <= 0x7E;
}

void add(std::string_view bytes, std::vector<Key>& keys) {
    for (const auto& row : keyRows)
        if (row.bytes == bytes) keys.push_back(row.key);
}

}  // namespace

std::vector<Key> KeyReader::take(std::string_view bytes) {
    std::vector<Key> keys;
    for (const char byte : bytes) takeByte(byte, keys);
    return keys;
}

void KeyReader::takeByte(char byte, std::vector<Key>& keys) {
    constexpr std::size_t longestSequence = 32;
    if (byte == escape) {
        if (isUndecided()) keys.push_back(Key::quit);
        sequence_ = escape;
        return;
    }
    if (sequence_.empty()) return add({&byte, 1}, keys);
    const bool isComplete = isEnd(sequence_, byte);
    if (sequence_.size() < longestSequence) sequence_ += byte;
    if (isComplete) add(std::exchange(sequence_, {}), keys);
}

std::vector<Key> KeyReader::decide() {
    if (!isUndecided()) return {};
    sequence_.clear();
    return {Key::quit};
}

}  // namespace host
