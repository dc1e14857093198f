// SPDX-License-Identifier: Apache-2.0

#pragma once

// The library that speaks to a message bus, loaded when it is first needed: a command that asks once needs
// none. Safe from any thread.

#include <systemd/sd-bus.h>

namespace platform {

#define VELA_BUS_FUNCTIONS(each)                                                                       \
    each(sd_bus_open_system) each(sd_bus_open_user) each(sd_bus_close) each(sd_bus_unref)              \
        each(sd_bus_get_fd) each(sd_bus_get_events) each(sd_bus_get_timeout) each(sd_bus_process)      \
            each(sd_bus_is_ready) each(sd_bus_add_match_async) each(sd_bus_call_async)                 \
                each(sd_bus_slot_unref) each(sd_bus_message_new_method_call)                           \
                    each(sd_bus_message_set_auto_start) each(sd_bus_message_append_basic)              \
                        each(sd_bus_message_open_container) each(sd_bus_message_close_container)       \
                            each(sd_bus_message_unref) each(sd_bus_message_get_sender)                 \
                                each(sd_bus_message_get_path) each(sd_bus_message_get_interface)       \
                                    each(sd_bus_message_get_member) each(sd_bus_message_get_error)     \
                                        each(sd_bus_message_peek_type) each(sd_bus_message_read_basic) \
                                            each(sd_bus_message_enter_container)                       \
                                                each(sd_bus_message_exit_container)                    \
                                                    each(sd_bus_message_skip)

/// Each function under its own name.
struct BusLibrary {
#define VELA_MEMBER(name) decltype(::name)* name = nullptr;
    VELA_BUS_FUNCTIONS(VELA_MEMBER)
#undef VELA_MEMBER

    /// Nothing where the library is not installed.
    static const BusLibrary* shared();
};

}  // namespace platform
