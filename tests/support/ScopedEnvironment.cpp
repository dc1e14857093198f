// SPDX-License-Identifier: Apache-2.0

#include "tests/support/ScopedEnvironment.hpp"

#include <cstdlib>

namespace platform::testing {

namespace {

std::optional<std::string> value(const std::string& name) {
    const char* text = std::getenv(name.c_str());
    if (!text) return std::nullopt;
    return text;
}

void set(const std::string& name, const std::optional<std::string>& value) {
    if (value) {
        setenv(name.c_str(), value->c_str(), 1);
    } else {
        unsetenv(name.c_str());
    }
}

}  // namespace

ScopedEnvironment::ScopedEnvironment(
    std::initializer_list<std::pair<std::string, std::optional<std::string>>> variables) {
    for (const auto& [name, wanted] : variables) {
        previous_.emplace(name, value(name));
        set(name, wanted);
    }
}

ScopedEnvironment::~ScopedEnvironment() {
    for (const auto& [name, previous] : previous_) set(name, previous);
}

}  // namespace platform::testing
