// SPDX-License-Identifier: Apache-2.0

#include "platform/Security/KeychainChange.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>

#include "platform/Security/KeychainFailure.hpp"

namespace platform {
namespace {

// A number is eight bytes, the least first; a text is its size and its bytes.
void append(std::string& bytes, std::uint64_t number) {
    for (int shift = 0; shift < 64; shift += 8) bytes.push_back(static_cast<char>(number >> shift & 0xff));
}

void append(std::string& bytes, const std::string& text) {
    append(bytes, std::uint64_t{text.size()});
    bytes.append(text);
}

void append(std::string& bytes, Date date) {
    append(bytes, std::bit_cast<std::uint64_t>(date.timeIntervalSinceReferenceDate()));
}

void append(std::string& bytes, const std::optional<KeychainItem>& item) {
    append(bytes, std::uint64_t{item.has_value()});
    if (!item) return;
    for (const auto& attribute : keychainTextAttributes) append(bytes, (*item).*attribute.field);
    append(bytes, item->creationDate);
    append(bytes, item->modificationDate);
    append(bytes, item->data);
}

class Reader {
  public:
    explicit Reader(std::string_view bytes) : bytes_(bytes) {}

    bool isAtEnd() const { return bytes_.empty(); }

    std::optional<KeychainItem> item() {
        if (number() == 0) return std::nullopt;
        KeychainItem item = {.service = {},
                             .account = {},
                             .accessGroup = {},
                             .accessible = {},
                             .creationDate = Date::sinceReferenceDate(0),
                             .modificationDate = Date::sinceReferenceDate(0),
                             .data = {}};
        for (const auto& attribute : keychainTextAttributes) item.*attribute.field = text();
        item.creationDate = date();
        item.modificationDate = date();
        item.data = text();
        return item;
    }

  private:
    std::string_view take(std::uint64_t size) {
        if (size > bytes_.size())
            throw KeychainFailure{errSecIO, "the keychain's unfinished changes are damaged"};
        const auto taken = bytes_.substr(0, size);
        bytes_.remove_prefix(size);
        return taken;
    }
    std::uint64_t number() {
        std::uint64_t value = 0;
        int shift = 0;
        for (const char byte : take(8)) {
            value |= std::uint64_t{static_cast<unsigned char>(byte)} << shift;
            shift += 8;
        }
        return value;
    }
    std::string text() { return std::string(take(number())); }
    Date date() { return Date::sinceReferenceDate(std::bit_cast<double>(number())); }

    std::string_view bytes_;
};

}  // namespace

void KeychainChange::applyTo(std::vector<KeychainItem>& items) const {
    const auto find = [&](const std::optional<KeychainItem>& item) {
        return std::find_if(items.begin(), items.end(),
                            [&](const KeychainItem& other) { return item && other.hasIdentityOf(*item); });
    };
    auto found = find(before);
    if (found == items.end()) found = find(after);
    if (found == items.end()) {
        if (after) items.push_back(*after);
    } else if (after) {
        *found = *after;
    } else {
        items.erase(found);
    }
}

std::string KeychainChange::encoded(const KeychainChanges& changes) {
    std::string bytes;
    for (const KeychainChange& change : changes) {
        append(bytes, change.before);
        append(bytes, change.after);
    }
    return bytes;
}

KeychainChanges KeychainChange::decoded(std::string_view bytes) {
    KeychainChanges changes;
    Reader reader(bytes);
    while (!reader.isAtEnd()) {
        auto before = reader.item();
        auto after = reader.item();
        changes.push_back({.before = std::move(before), .after = std::move(after)});
    }
    return changes;
}

}  // namespace platform
