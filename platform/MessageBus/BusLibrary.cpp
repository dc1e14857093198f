// SPDX-License-Identifier: Apache-2.0

#include "platform/MessageBus/BusLibrary.hpp"

#include <dlfcn.h>

#include <optional>

namespace platform {
namespace {

template <typename Function>
bool findInBusLibrary(void* library, const char* name, Function*& function) {
    function = reinterpret_cast<Function*>(::dlsym(library, name));
    return function != nullptr;
}

std::optional<BusLibrary> loadedBusLibrary() {
    void* library = ::dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL);
    if (!library) return std::nullopt;
    BusLibrary loaded;
    bool isComplete = true;
#define VELA_FIND(name) isComplete = findInBusLibrary(library, #name, loaded.name) && isComplete;
    VELA_BUS_FUNCTIONS(VELA_FIND)
#undef VELA_FIND
    return isComplete ? std::optional(loaded) : std::nullopt;
}

}  // namespace

const BusLibrary* BusLibrary::shared() {
    static const std::optional<BusLibrary> library = loadedBusLibrary();
    return library ? &*library : nullptr;
}

}  // namespace platform
