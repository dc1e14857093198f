// SPDX-License-Identifier: Apache-2.0

// Any bytes as a bundle's Info dictionary, and the suite that its name would open.

#include <boost/json/value.hpp>
#include <string>

#include "fuzz/Folder.hpp"
#include "fuzz/Require.hpp"
#include "fuzz/SilentLog.hpp"
#include "platform/Bundle/Bundle.hpp"
#include "platform/URL/URL.hpp"
#include "platform/UserDefaults/UserDefaults.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size) {
    static const Folder folder;
    static SilentLog log;
    folder.write("Info.json", text(input, size));
    const auto info = platform::Bundle::at(folder.path()).infoDictionary();
    if (!info) return 0;
    require(platform::Bundle::at(folder.path()).infoDictionary() == info,
            "a dictionary reads the same twice");
    if (const auto* name = info->if_contains("GROUP_IDENTIFIER"); name && name->is_string()) {
        const std::string suiteName(name->get_string());
        try {
            const auto suite = platform::UserDefaults::suite(suiteName, folder.path());
            require(suiteName.find('/') == std::string::npos && suiteName != "..",
                    "a suite stands in the data folder");
            require(!suite->objectForKey("userId"), "a suite that was never written is empty");
        } catch (const platform::UserDefaultsError&) {
        }
    }
    if (const auto* url = info->if_contains("EVENT_COLLECTOR_URL"); url && url->is_string())
        static_cast<void>(platform::URL::parse(url->get_string()));
    return 0;
}
