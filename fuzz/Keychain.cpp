// SPDX-License-Identifier: Apache-2.0

// Any bytes as the keychain's file, and behind the first 512-byte boundary that is marked "journal" any bytes
// as its journal. Every call ends with one of the statuses that it may have, and what it says is so.

#include <algorithm>
#include <array>
#include <string>

#include "fuzz/Folder.hpp"
#include "fuzz/Require.hpp"
#include "platform/Security/EmbeddedItemStore.hpp"

namespace {

using namespace platform;

constexpr const char* fileName = "keychain.sqlite";
constexpr std::string_view journalMark = "\njournal\n";

SecAttributes query(const char* account) {
    return {{kSecClass, std::string(kSecClassGenericPassword)},
            {kSecAttrService, std::string("com.brightfen.pontal_ck")},
            {kSecAttrAccessible, std::string(kSecAttrAccessibleAfterFirstUnlock)},
            {kSecAttrAccount, std::string(account)}};
}

OSStatus checked(OSStatus status) {
    constexpr std::array known = {errSecSuccess, errSecIO, errSecInteractionNotAllowed, errSecDuplicateItem,
                                  errSecItemNotFound};
    require(std::find(known.begin(), known.end(), status) != known.end(),
            "a call ends with a status it may have");
    return status;
}

/// The status of a look, and the item's bytes.
std::pair<OSStatus, std::string> found(EmbeddedItemStore& store, const char* account) {
    auto asked = query(account);
    asked[kSecReturnData] = true;
    asked[kSecMatchLimit] = std::string(kSecMatchLimitOne);
    SecResult result;
    const auto status = checked(store.copyMatching(asked, &result));
    const auto* data = std::get_if<Data>(&result);
    return {status, data ? data->bytes : ""};
}

OSStatus list(EmbeddedItemStore& store) {
    SecAttributes all = {{kSecClass, std::string(kSecClassGenericPassword)},
                         {kSecReturnData, true},
                         {kSecReturnAttributes, true},
                         {kSecMatchLimit, std::string(kSecMatchLimitAll)}};
    SecResult result;
    return checked(store.copyMatching(all, &result));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    static const Folder folder;
    const auto whole = text(input, size);
    const auto mark = std::min(whole.find(journalMark), whole.size());
    const auto journal = whole.substr(std::min(whole.size(), mark + journalMark.size()));
    const auto file = folder.write(fileName, whole.substr(0, mark));
    const auto journalFile = folder.path() / (std::string(fileName) + "-journal");
    if (journal.empty())
        ::unlink(journalFile.c_str());
    else
        folder.write(journalFile.filename(), journal);

    EmbeddedItemStore store(file);
    list(store);
    const auto [before, bytes] = found(store, "accessToken");
    require(journal.empty() ? Folder::read(file) == whole.substr(0, mark) : true, "a look changes nothing");

    auto item = query("refreshToken");
    item[kSecValueData] = Data{"secret"};
    const auto added = checked(store.add(item));
    if (added == errSecSuccess)
        require(found(store, "refreshToken").second == "secret", "what was added is there");
    const auto updated = checked(store.update(query("refreshToken"), {{kSecValueData, Data{"renewed"}}}));
    if (updated == errSecSuccess)
        require(found(store, "refreshToken").second == "renewed", "what was updated is there");
    if (before == errSecSuccess && added == errSecSuccess)
        require(found(store, "accessToken").second == bytes, "what was there stays");
    const auto removed = checked(store.remove(query("refreshToken")));
    if (removed == errSecSuccess)
        require(found(store, "refreshToken").first == errSecItemNotFound, "what was removed is gone");
    return 0;
}
