// SPDX-License-Identifier: Apache-2.0

// Any bytes as the defaults' file: every key reads as something or as nothing, and a write keeps the rest or
// refuses.

#include <boost/json/value.hpp>
#include <optional>
#include <string>

#include "fuzz/Folder.hpp"
#include "fuzz/Require.hpp"
#include "fuzz/SameValue.hpp"
#include "fuzz/SilentLog.hpp"
#include "platform/UserDefaults/FileUserDefaults.hpp"

namespace {

constexpr const char* fileName = "preferences.json";

/// Whether the write was taken; a file that is refused stays as it is.
template <typename Write>
bool isTaken(const std::filesystem::path& file, Write write) {
    const auto before = Folder::read(file);
    try {
        write();
        return true;
    } catch (const platform::UserDefaultsError&) {
        require(Folder::read(file) == before, "a file that is not understood stays as it is");
        return false;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    static const Folder folder;
    static SilentLog log;
    const auto file = folder.write(fileName, text(input, size));
    platform::FileUserDefaults defaults(folder.path());
    static_cast<void>(defaults.stringForKey("PONTAL_URL"));
    const auto userId = defaults.objectForKey("userId");

    const boost::json::value url = "http://127.0.0.1";
    if (isTaken(file, [&] { defaults.setObject("PONTAL_URL", url); })) {
        require(defaults.objectForKey("PONTAL_URL") == url, "what was set is there");
        const auto kept = defaults.objectForKey("userId");
        require(kept.has_value() == userId.has_value() && (!kept || isSame(*kept, *userId)),
                "what was there stays");
    }
    if (isTaken(file, [&] { defaults.removeObject("PONTAL_URL"); }))
        require(!defaults.objectForKey("PONTAL_URL"), "what was removed is gone");
    require(!std::filesystem::exists(folder.path() / ".preferences.json.new"), "no other file is left");
    return 0;
}
