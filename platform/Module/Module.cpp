// SPDX-License-Identifier: Apache-2.0

#include "platform/Module/Module.hpp"

#include <dlfcn.h>

#include "platform/ProcessInfo/ProcessInfo.hpp"

namespace platform {

void* moduleFunction(const char* module, const char* function) {
    const auto path = executablePath().parent_path().parent_path() / "lib/vela-widget" / module;
    void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    void* address = library ? ::dlsym(library, function) : nullptr;
    if (!address) {
        const char* reason = ::dlerror();
        throw ModuleError(std::string("a part of the program cannot be loaded: ") +
                          (reason ? reason : module));
    }
    return address;
}

}  // namespace platform
