// SPDX-License-Identifier: Apache-2.0

#pragma once

// The desktop's keyring library, loaded when it is first needed: with all that it brings along it would cost
// every start several milliseconds and megabytes, and most people keep the embedded keychain. Safe from any
// thread.

#include <libsecret/secret.h>

namespace platform {

#define VELA_SECRET_SERVICE_FUNCTIONS(each)                                                                 \
    each(g_bus_get_sync) each(g_cancellable_cancel) each(g_cancellable_new) each(                           \
        g_dbus_connection_set_exit_on_close) each(g_dbus_error_quark) each(g_dbus_proxy_get_object_path)    \
        each(g_error_free) each(g_hash_table_insert) each(g_hash_table_lookup) each(g_hash_table_new_full)  \
            each(g_hash_table_unref) each(g_list_free) each(g_object_unref) each(g_free) each(g_strdup)     \
                each(g_str_equal) each(g_str_hash) each(g_utf8_validate)                                    \
                    each(secret_collection_for_alias_sync) each(secret_collection_get_locked) each(         \
                        secret_error_get_quark) each(secret_item_create_sync) each(secret_item_delete_sync) \
                        each(secret_item_get_attributes) each(secret_item_get_created)                      \
                            each(secret_item_get_locked) each(secret_item_get_modified)                     \
                                each(secret_item_get_secret) each(secret_item_set_attributes_sync)          \
                                    each(secret_item_set_secret_sync) each(secret_service_disconnect)       \
                                        each(secret_service_get_sync) each(secret_service_search_sync)      \
                                            each(secret_value_get) each(secret_value_new)                   \
                                                each(secret_value_unref)

/// Each function under its own name.
struct SecretServiceLibrary {
#define VELA_MEMBER(name) decltype(::name)* name = nullptr;
    VELA_SECRET_SERVICE_FUNCTIONS(VELA_MEMBER)
#undef VELA_MEMBER

    /// Nothing where the library is not installed.
    static const SecretServiceLibrary* shared();
};

}  // namespace platform
