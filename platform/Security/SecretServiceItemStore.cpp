#include "platform/Security/SecretServiceItemStore.hpp"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <tuple>
#include <utility>

#include "platform/Security/SecretServiceLibrary.hpp"

namespace platform {
namespace {

constexpr std::chrono::seconds patience{3};

constexpr SecretSchema schema = {"vela.Keychain.GenericPassword",
                                 SECRET_SCHEMA_NONE,
                                 {{kSecAttrService, SECRET_SCHEMA_ATTRIBUTE_STRING},
                                  {kSecAttrAccount, SECRET_SCHEMA_ATTRIBUTE_STRING},
                                  {kSecAttrAccessGroup, SECRET_SCHEMA_ATTRIBUTE_STRING},
                                  {kSecAttrAccessible, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                                 0,
                                 nullptr,
                                 nullptr,
                                 nullptr,
                                 nullptr,
                                 nullptr,
                                 nullptr,
                                 nullptr};

const SecretServiceLibrary& library() {
    const SecretServiceLibrary* shared = SecretServiceLibrary::shared();
    if (!shared) throw KeychainFailure{errSecNotAvailable};
    return *shared;
}

struct Unreference {
    void operator()(gpointer object) const { library().g_object_unref(object); }
};
template <typename Object>
using Reference = std::unique_ptr<Object, Unreference>;

struct UnreferenceTable {
    void operator()(GHashTable* table) const { library().g_hash_table_unref(table); }
};
using Attributes = std::unique_ptr<GHashTable, UnreferenceTable>;

struct UnreferenceValue {
    void operator()(SecretValue* value) const { library().secret_value_unref(value); }
};
using Value = std::unique_ptr<SecretValue, UnreferenceValue>;

// Ends a wait on the service that has taken too long; the library itself would wait for 25 seconds a step.
class Deadline {
  public:
    Deadline() : cancellable_(library().g_cancellable_new()), watch_(&Deadline::watch, this) {}
    ~Deadline() {
        {
            const std::lock_guard lock(mutex_);
            isOver_ = true;
        }
        over_.notify_one();
        watch_.join();
    }
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;

    GCancellable* cancellable() const { return cancellable_.get(); }

  private:
    void watch() {
        std::unique_lock lock(mutex_);
        if (!over_.wait_for(lock, patience, [this] { return isOver_; })) {
            library().g_cancellable_cancel(cancellable_.get());
        }
    }

    Reference<GCancellable> cancellable_;
    std::mutex mutex_;
    std::condition_variable over_;
    bool isOver_ = false;
    std::thread watch_;
};

// Takes an error's place in a call, and raises what it stands for.
class Failure {
  public:
    Failure() = default;
    ~Failure() {
        if (error_) library().g_error_free(error_);
    }
    Failure(const Failure&) = delete;
    Failure& operator=(const Failure&) = delete;

    GError** slot() { return &error_; }

    void raise(OSStatus otherwise) const {
        if (error_) throw KeychainFailure{status(otherwise)};
    }

  private:
    OSStatus status(OSStatus otherwise) const {
        if (error_->domain == library().secret_error_get_quark() && error_->code == SECRET_ERROR_IS_LOCKED) {
            return errSecInteractionNotAllowed;
        }
        const bool isAboutTheBus = error_->domain == library().g_dbus_error_quark();
        const bool isServiceGone =
            isAboutTheBus &&
            (error_->code == G_DBUS_ERROR_SERVICE_UNKNOWN || error_->code == G_DBUS_ERROR_NAME_HAS_NO_OWNER ||
             error_->code == G_DBUS_ERROR_DISCONNECTED || error_->code == G_DBUS_ERROR_NO_REPLY ||
             (error_->code >= G_DBUS_ERROR_SPAWN_EXEC_FAILED &&
              error_->code <= G_DBUS_ERROR_SPAWN_NO_MEMORY));
        return isServiceGone ? errSecNotAvailable : otherwise;
    }

    GError* error_ = nullptr;
};

void insert(const Attributes& attributes, const char* key, const std::string& text) {
    if (text.find('\0') != std::string::npos ||
        !library().g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr)) {
        throw KeychainFailure{errSecParam};
    }
    library().g_hash_table_insert(attributes.get(), library().g_strdup(key),
                                  library().g_strdup(text.c_str()));
}

Attributes noAttributes() {
    return Attributes(library().g_hash_table_new_full(library().g_str_hash, library().g_str_equal,
                                                      library().g_free, library().g_free));
}

Attributes attributesOf(const KeychainItem& item) {
    Attributes attributes = noAttributes();
    for (const auto& [key, field] : keychainTextAttributes) insert(attributes, key, item.*field);
    return attributes;
}

Attributes attributesOf(const KeychainQuery& query) {
    Attributes attributes = noAttributes();
    for (const auto& attribute : keychainTextAttributes) {
        if (const std::string* text = query.text(attribute.key)) insert(attributes, attribute.key, *text);
    }
    return attributes;
}

Value valueOf(const KeychainItem& item) {
    return Value(library().secret_value_new(item.data.data(), static_cast<gssize>(item.data.size()),
                                            "application/octet-stream"));
}

KeychainItem itemFrom(SecretItem* stored) {
    KeychainItem item = {
        .service = {},
        .account = {},
        .accessGroup = {},
        .accessible = {},
        .creationDate = Date::since1970(static_cast<double>(library().secret_item_get_created(stored))),
        .modificationDate = Date::since1970(static_cast<double>(library().secret_item_get_modified(stored))),
        .data = {}};
    const Attributes attributes(library().secret_item_get_attributes(stored));
    for (const auto& [key, field] : keychainTextAttributes) {
        const gpointer text = library().g_hash_table_lookup(attributes.get(), key);
        if (text) item.*field = static_cast<const char*>(text);
    }
    if (const Value value{library().secret_item_get_secret(stored)}) {
        gsize size = 0;
        const char* bytes = library().secret_value_get(value.get(), &size);
        item.data.assign(bytes, size);
    }
    return item;
}

class Transaction : public KeychainTransaction {
  public:
    Transaction() {
        Failure failure;
        const Reference<GDBusConnection> bus(
            library().g_bus_get_sync(G_BUS_TYPE_SESSION, deadline_.cancellable(), failure.slot()));
        failure.raise(errSecNotAvailable);
        // A desktop session that ends must not end this process by a signal.
        library().g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
        try {
            connect();
        } catch (const KeychainFailure&) {
            // The library remembers the service that it spoke to first, and learns only in a main loop that
            // another has taken its place.
            library().secret_service_disconnect();
            connect();
        }
    }

    bool hasUnlockedCollection() const {
        return collection_ && !library().secret_collection_get_locked(collection_.get());
    }

    std::vector<KeychainItem> items(const KeychainQuery& query) override {
        std::vector<KeychainItem> items;
        for (const auto& stored : search(query)) {
            KeychainItem item = itemFrom(stored.get());
            if (query.matches(item)) items.push_back(std::move(item));
        }
        return items;
    }

    void insert(const KeychainItem& item) override {
        if (!hasUnlockedCollection()) throw KeychainFailure{errSecInteractionNotAllowed};
        const std::string label = item.service + ": " + item.account;
        Failure failure;
        const Reference<SecretItem> made(library().secret_item_create_sync(
            collection_.get(), &schema, attributesOf(item).get(), label.c_str(), valueOf(item).get(),
            SECRET_ITEM_CREATE_NONE, deadline_.cancellable(), failure.slot()));
        failure.raise(errSecIO);
    }

    void replace(const KeychainItem& item, const KeychainItem& replacement) override {
        for (const auto& stored : search(KeychainQuery::forIdentity(item))) {
            Failure failure;
            if (replacement.data != item.data) {
                library().secret_item_set_secret_sync(stored.get(), valueOf(replacement).get(),
                                                      deadline_.cancellable(), failure.slot());
                failure.raise(errSecIO);
            }
            if (!replacement.hasIdentityOf(item) || replacement.accessible != item.accessible) {
                library().secret_item_set_attributes_sync(stored.get(), &schema,
                                                          attributesOf(replacement).get(),
                                                          deadline_.cancellable(), failure.slot());
                failure.raise(errSecIO);
            }
        }
    }

    void erase(const KeychainItem& item) override {
        for (const auto& stored : search(KeychainQuery::forIdentity(item))) {
            Failure failure;
            library().secret_item_delete_sync(stored.get(), deadline_.cancellable(), failure.slot());
            failure.raise(errSecIO);
        }
    }

    // The service has kept each change as it came.
    void commit() override {}

  private:
    void connect() {
        Failure failure;
        service_.reset(
            library().secret_service_get_sync(SECRET_SERVICE_NONE, deadline_.cancellable(), failure.slot()));
        failure.raise(errSecNotAvailable);
        collection_.reset(library().secret_collection_for_alias_sync(
            service_.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, deadline_.cancellable(),
            failure.slot()));
        failure.raise(errSecNotAvailable);
    }

    // In order of creation; items of one second in the order of their numbers, which end their paths.
    std::vector<Reference<SecretItem>> search(const KeychainQuery& query) {
        Failure failure;
        GList* found = library().secret_service_search_sync(
            service_.get(), &schema, attributesOf(query).get(),
            static_cast<SecretSearchFlags>(SECRET_SEARCH_ALL | SECRET_SEARCH_LOAD_SECRETS),
            deadline_.cancellable(), failure.slot());
        std::vector<Reference<SecretItem>> items;
        for (const GList* link = found; link; link = link->next) {
            items.emplace_back(static_cast<SecretItem*>(link->data));
        }
        library().g_list_free(found);
        failure.raise(errSecIO);

        const bool isLocked = std::any_of(items.begin(), items.end(), [](const auto& item) {
            return library().secret_item_get_locked(item.get());
        });
        const bool mayBeHidden = items.empty() && collection_ && !hasUnlockedCollection();
        if (isLocked || mayBeHidden) throw KeychainFailure{errSecInteractionNotAllowed};

        const auto rank = [](const Reference<SecretItem>& item) {
            const std::string path =
                library().g_dbus_proxy_get_object_path(reinterpret_cast<GDBusProxy*>(item.get()));
            return std::tuple(library().secret_item_get_created(item.get()), path.size(), path);
        };
        std::sort(items.begin(), items.end(),
                  [&](const auto& first, const auto& second) { return rank(first) < rank(second); });
        return items;
    }

    Deadline deadline_;
    Reference<SecretService> service_;
    Reference<SecretCollection> collection_;
};

}  // namespace

std::unique_ptr<KeychainTransaction> SecretServiceItemStore::begin(Access access) {
    auto transaction = std::make_unique<Transaction>();
    if (access == Access::create && !transaction->hasUnlockedCollection()) {
        throw KeychainFailure{errSecInteractionNotAllowed};
    }
    return transaction;
}

}  // namespace platform
