// SPDX-License-Identifier: Apache-2.0

#include "platform/Date/Ambient.hpp"

#include <atomic>

#include "platform/Date/SystemAmbient.hpp"

namespace platform {

namespace {

std::atomic<const Ambient*> overriding = nullptr;

}  // namespace

const Ambient& Ambient::system() {
    static const SystemAmbient ambient;
    return ambient;
}

const Ambient& Ambient::current() {
    const auto* ambient = overriding.load(std::memory_order_acquire);
    return ambient ? *ambient : system();
}

Ambient::Override::Override(const Ambient& ambient)
    : previous_(overriding.exchange(&ambient, std::memory_order_acq_rel)) {}

Ambient::Override::~Override() {
    overriding.store(previous_, std::memory_order_release);
}

}  // namespace platform
