// SPDX-License-Identifier: Apache-2.0

#pragma once

// Parts of our programs that are loaded when they are first needed, so that what does without them starts
// without their libraries. A module has one C function; what it gives back comes through a receiver, so that
// neither side frees what the other allocated. Safe from any thread.

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace platform {

class ModuleError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What a module's function gives back: parts of its result, or what is wrong.
struct ModuleReceiver {
    std::string result = {};
    std::string problem = {};

    static void takeResult(void* receiver, const char* part, std::size_t length) {
        static_cast<ModuleReceiver*>(receiver)->result.append(part, length);
    }
    static void takeProblem(void* receiver, const char* text, std::size_t length) {
        static_cast<ModuleReceiver*>(receiver)->problem.append(text, length);
    }
};

/// The same as plain C, for a module's function to call.
struct ModuleOutput {
    void* receiver;
    void (*takeResult)(void* receiver, const char* part, std::size_t length);
    void (*takeProblem)(void* receiver, const char* text, std::size_t length);

    void result(std::string_view part) const { takeResult(receiver, part.data(), part.size()); }
    void problem(std::string_view text) const { takeProblem(receiver, text.data(), text.size()); }
};

/// A function of a module in lib/vela-widget beside the programs' bin. Throws ModuleError.
void* moduleFunction(const char* module, const char* function);

/// Calls `function(arguments..., output)` and gives its result; throws ModuleError for a problem.
template <typename Function, typename... Arguments>
std::string moduleResult(Function function, Arguments... arguments) {
    ModuleReceiver receiver;
    const ModuleOutput output = {&receiver, ModuleReceiver::takeResult, ModuleReceiver::takeProblem};
    function(arguments..., &output);
    if (!receiver.problem.empty()) throw ModuleError(receiver.problem);
    return std::move(receiver.result);
}

}  // namespace platform
