// SPDX-License-Identifier: Apache-2.0

#include "platform/Security/SecretServiceLibrary.hpp"

#include <dlfcn.h>

#include <optional>

namespace platform {
namespace {

template <typename Function>
bool find(void* library, const char* name, Function*& function) {
    function = reinterpret_cast<Function*>(::dlsym(library, name));
    return function != nullptr;
}

std::optional<SecretServiceLibrary> load() {
    // Never unloaded: the library's types and threads stay for the life of the process.
    void* library = ::dlopen("libsecret-1.so.0", RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (!library) return std::nullopt;
    SecretServiceLibrary loaded;
    bool isComplete = true;
#define VELA_FIND(name) isComplete = find(library, #name, loaded.name) && isComplete;
    VELA_SECRET_SERVICE_FUNCTIONS(VELA_FIND)
#undef VELA_FIND
    return isComplete ? std::optional(loaded) : std::nullopt;
}

}  // namespace

const SecretServiceLibrary* SecretServiceLibrary::shared() {
    static const std::optional<SecretServiceLibrary> library = load();
    return library ? &*library : nullptr;
}

}  // namespace platform
