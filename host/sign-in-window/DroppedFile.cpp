// SPDX-License-Identifier: Apache-2.0

#include "host/sign-in-window/DroppedFile.hpp"

#include <glib.h>

#include <memory>

#include "platform/Text/ASCII.hpp"

namespace host {

namespace {

constexpr std::string_view scheme = "file:";

bool isOfThisMachine(std::string_view host, std::string_view machine) {
    using platform::equalsWithoutCase;
    return host.empty() || equalsWithoutCase(host, "localhost") || equalsWithoutCase(host, machine);
}

}  // namespace

DroppedFile droppedFile(const std::string& address, std::string_view machine) {
    auto rest = std::string_view(address);
    if (!platform::equalsWithoutCase(rest.substr(0, scheme.size()), scheme))
        return {.refusal = "That is no file of this machine."};
    rest.remove_prefix(scheme.size());
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        const auto host = rest.substr(0, rest.find('/'));
        if (!isOfThisMachine(host, machine))
            return {.refusal = "That file is on another machine; copy it to this one first."};
        rest.remove_prefix(host.size());
    }
    // Whose machine it is on has been seen to.
    const auto local = "file://" + std::string(rest);
    const std::unique_ptr<char, decltype(&g_free)> path(
        rest.starts_with('/') ? g_filename_from_uri(local.c_str(), nullptr, nullptr) : nullptr, g_free);
    if (!path) return {.refusal = "The address of that file is damaged; choose the file instead."};
    return {.path = path.get()};
}

}  // namespace host
