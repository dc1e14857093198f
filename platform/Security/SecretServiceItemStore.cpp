// SPDX-License-Identifier: Apache-2.0

#include "platform/Security/SecretServiceItemStore.hpp"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>
#include <tuple>
#include <utility>

#include "platform/Files/Patience.hpp"
#include "platform/Security/KeychainChange.hpp"
#include "platform/Security/KeychainLock.hpp"
#include "platform/Security/SecretServiceLibrary.hpp"

namespace platform {
namespace {

using std::chrono::milliseconds;

constexpr std::chrono::seconds readPatience{3};
constexpr std::chrono::seconds writePatience{30};
constexpr milliseconds pauseBetweenAttempts{5};
constexpr milliseconds pauseOfWatch{100};

SecretSchema schemaNamed(const char* name) {
    SecretSchema schema = {};
    schema.name = name;
    std::size_t index = 0;
    for (const auto& attribute : keychainTextAttributes)
        schema.attributes[index++] = {attribute.key, SECRET_SCHEMA_ATTRIBUTE_STRING};
    return schema;
}

const SecretSchema itemSchema = schemaNamed("vela.Keychain.GenericPassword");
// The service changes one item at a time. A transaction of several changes is first written down whole as one
// item of its own: from then on it counts as made, and whoever finds it finishes it.
const SecretSchema journalSchema = schemaNamed("vela.Keychain.Journal");

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
    explicit Deadline(std::chrono::seconds patience)
        : cancellable_(library().g_cancellable_new()), watch_(&Deadline::watch, this, patience) {}
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
    void watch(std::chrono::seconds patience) {
        std::unique_lock lock(mutex_);
        // Counted in pauses and not by the clock: the service stands still as long as the machine does.
        for (milliseconds left = patience; left > milliseconds(0); left -= pauseOfWatch)
            if (over_.wait_for(lock, pauseOfWatch, [this] { return isOver_; })) return;
        library().g_cancellable_cancel(cancellable_.get());
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

// What the service finds items by: of two that have one identity the older must not stand in for the newer
// only because it has the accessibility that is asked for.
Attributes identityAttributesOf(const KeychainQuery& query) {
    Attributes attributes = noAttributes();
    for (const auto& attribute : keychainTextAttributes) {
        const std::string* text = query.text(attribute.key);
        if (text && attribute.field != &KeychainItem::accessible) insert(attributes, attribute.key, *text);
    }
    return attributes;
}

Value valueOf(const std::string& bytes) {
    return Value(library().secret_value_new(bytes.data(), static_cast<gssize>(bytes.size()),
                                            "application/octet-stream"));
}

std::string bytesOf(SecretItem* stored) {
    const Value value{library().secret_item_get_secret(stored)};
    if (!value) return {};
    gsize size = 0;
    const char* bytes = library().secret_value_get(value.get(), &size);
    return {bytes, size};
}

KeychainItem itemFrom(SecretItem* stored) {
    KeychainItem item = {
        .service = {},
        .account = {},
        .accessGroup = {},
        .accessible = {},
        .creationDate = Date::since1970(static_cast<double>(library().secret_item_get_created(stored))),
        .modificationDate = Date::since1970(static_cast<double>(library().secret_item_get_modified(stored))),
        .data = bytesOf(stored)};
    const Attributes attributes(library().secret_item_get_attributes(stored));
    for (const auto& [key, field] : keychainTextAttributes) {
        const gpointer text = library().g_hash_table_lookup(attributes.get(), key);
        if (text) item.*field = static_cast<const char*>(text);
    }
    return item;
}

std::string pathOf(SecretItem* stored) {
    return library().g_dbus_proxy_get_object_path(reinterpret_cast<GDBusProxy*>(stored));
}

// In order of creation; items of one second in the order of their numbers, which end their paths.
std::tuple<guint64, std::size_t, std::string> creationRank(SecretItem* stored) {
    const std::string path = pathOf(stored);
    return {library().secret_item_get_created(stored), path.size(), path};
}

bool isNewer(SecretItem* first, SecretItem* second) {
    return std::pair(library().secret_item_get_modified(first), creationRank(first)) >
           std::pair(library().secret_item_get_modified(second), creationRank(second));
}

class ServiceTransaction : public KeychainTransaction {
  public:
    explicit ServiceTransaction(std::optional<LockFile> lock) : lock_(std::move(lock)) {
        deadline_.emplace(readPatience);
        Failure failure;
        const Reference<GDBusConnection> bus(
            library().g_bus_get_sync(G_BUS_TYPE_SESSION, cancellable(), failure.slot()));
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
        changes_ = journal();
        if (lock_ && !changes_.empty()) finishJournal();
    }

    bool hasUnlockedCollection() const {
        return collection_ && !library().secret_collection_get_locked(collection_.get());
    }

    std::vector<KeychainItem> items(const KeychainQuery& query) override {
        std::vector<KeychainItem> items;
        for (const auto& stored : newest(search(itemSchema, identityAttributesOf(query))))
            items.push_back(itemFrom(stored.get()));
        for (const KeychainChange& change : changes_) change.applyTo(items);
        std::erase_if(items, [&](const KeychainItem& item) { return !query.matches(item); });
        return items;
    }

    void insert(const KeychainItem& item) override {
        attributesOf(item);
        changes_.push_back({.before = std::nullopt, .after = item});
    }
    void replace(const KeychainItem& item, const KeychainItem& replacement) override {
        attributesOf(replacement);
        changes_.push_back({.before = item, .after = replacement});
    }
    void erase(const KeychainItem& item) override {
        changes_.push_back({.before = item, .after = std::nullopt});
    }

    void commit() override {
        if (changes_.empty()) return;
        deadline_.emplace(writePatience);
        if (changes_.size() == 1) {
            make(changes_.front());
            return;
        }
        if (!hasUnlockedCollection()) throw KeychainFailure{errSecInteractionNotAllowed};
        create(journalSchema, noAttributes(), "Unfinished changes", KeychainChange::encoded(changes_));
        try {
            finishJournal();
        } catch (const KeychainFailure&) {
            // They are made all the same: readers see them, and the next writer finishes them.
        }
    }

    // By the journal of no changes, which means nothing to whoever finds it.
    void rehearse() override {
        deadline_.emplace(writePatience);
        create(journalSchema, noAttributes(), "Unfinished changes", {});
        finishJournal();
    }

  private:
    using Items = std::vector<Reference<SecretItem>>;

    GCancellable* cancellable() const { return deadline_->cancellable(); }

    void connect() {
        Failure failure;
        service_.reset(library().secret_service_get_sync(SECRET_SERVICE_NONE, cancellable(), failure.slot()));
        failure.raise(errSecNotAvailable);
        collection_.reset(library().secret_collection_for_alias_sync(
            service_.get(), SECRET_COLLECTION_DEFAULT, SECRET_COLLECTION_NONE, cancellable(),
            failure.slot()));
        failure.raise(errSecNotAvailable);
    }

    /// In order of creation.
    Items search(const SecretSchema& schema, const Attributes& attributes) {
        Failure failure;
        GList* found = library().secret_service_search_sync(
            service_.get(), &schema, attributes.get(),
            static_cast<SecretSearchFlags>(SECRET_SEARCH_ALL | SECRET_SEARCH_LOAD_SECRETS), cancellable(),
            failure.slot());
        Items items;
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
        std::sort(items.begin(), items.end(), [](const auto& first, const auto& second) {
            return creationRank(first.get()) < creationRank(second.get());
        });
        return items;
    }

    // Versions without a lock have left several items of one identity; the newest is the one that counts.
    static Items newest(Items items) {
        Items kept;
        for (auto& item : items) {
            const KeychainItem values = itemFrom(item.get());
            const auto twin = std::find_if(kept.begin(), kept.end(), [&](const auto& other) {
                return itemFrom(other.get()).hasIdentityOf(values);
            });
            if (twin == kept.end())
                kept.push_back(std::move(item));
            else if (isNewer(item.get(), twin->get()))
                *twin = std::move(item);
        }
        return kept;
    }

    /// Every item of the identity, the newest last.
    Items twins(const KeychainItem& item) {
        Items items = search(itemSchema, identityAttributesOf(KeychainQuery::forIdentity(item)));
        std::sort(items.begin(), items.end(),
                  [](const auto& first, const auto& second) { return isNewer(second.get(), first.get()); });
        return items;
    }

    // May be made a second time, after a process was killed in the middle of the first.
    void make(const KeychainChange& change) {
        Items items = change.before ? twins(*change.before) : Items();
        if (items.empty() && change.after) items = twins(*change.after);
        Reference<SecretItem> successor;
        if (change.after && !items.empty()) {
            successor = std::move(items.back());
            items.pop_back();
            overwrite(successor.get(), *change.after);
        } else if (change.after) {
            create(itemSchema, attributesOf(*change.after),
                   change.after->service + ": " + change.after->account, change.after->data);
        }
        for (const auto& item : items) remove(item.get());
    }

    void overwrite(SecretItem* stored, const KeychainItem& item) {
        Failure failure;
        const KeychainItem old = itemFrom(stored);
        const bool hasNewData = item.data != old.data;
        if (hasNewData) {
            library().secret_item_set_secret_sync(stored, valueOf(item.data).get(), cancellable(),
                                                  failure.slot());
            failure.raise(errSecIO);
        }
        // The service renews the date for equal attributes, but not for equal bytes.
        if (!hasNewData || !item.hasIdentityOf(old) || item.accessible != old.accessible) {
            library().secret_item_set_attributes_sync(stored, &itemSchema, attributesOf(item).get(),
                                                      cancellable(), failure.slot());
            failure.raise(errSecIO);
        }
    }

    void create(const SecretSchema& schema, const Attributes& attributes, const std::string& label,
                const std::string& bytes) {
        if (!hasUnlockedCollection()) throw KeychainFailure{errSecInteractionNotAllowed};
        Failure failure;
        const Reference<SecretItem> made(library().secret_item_create_sync(
            collection_.get(), &schema, attributes.get(), label.c_str(), valueOf(bytes).get(),
            SECRET_ITEM_CREATE_NONE, cancellable(), failure.slot()));
        failure.raise(errSecIO);
    }

    void remove(SecretItem* stored) {
        Failure failure;
        library().secret_item_delete_sync(stored, cancellable(), failure.slot());
        failure.raise(errSecIO);
    }

    KeychainChanges journal() {
        KeychainChanges changes;
        for (const auto& stored : search(journalSchema, noAttributes())) {
            const auto written = KeychainChange::decoded(bytesOf(stored.get()));
            changes.insert(changes.end(), written.begin(), written.end());
        }
        return changes;
    }

    void finishJournal() {
        deadline_.emplace(writePatience);
        for (const KeychainChange& change : changes_) make(change);
        for (const auto& stored : search(journalSchema, noAttributes())) remove(stored.get());
        changes_.clear();
    }

    std::optional<LockFile> lock_;
    std::optional<Deadline> deadline_;
    Reference<SecretService> service_;
    Reference<SecretCollection> collection_;
    /// Those that somebody has not finished, then this transaction's own.
    KeychainChanges changes_;
};

LockFile heldLock(LockFile file, std::chrono::seconds patience) {
    const bool isHeld = Patience{.inAll = patience, .pause = pauseBetweenAttempts}.suffices(
        [&] { return file.tryLock(LockFile::Byte::items, LockFile::Mode::exclusive); });
    if (!isHeld)
        throw KeychainFailure{errSecInteractionNotAllowed, "another program keeps the keychain locked"};
    return file;
}

}  // namespace

LockFile SecretServiceItemStore::lockFile() const {
    if (!lockFile_) throw KeychainFailure{errSecIO, "there is no data folder to keep the keychain's lock in"};
    return LockFile::open(*lockFile_);
}

std::unique_ptr<KeychainTransaction> SecretServiceItemStore::begin(Access access) {
    if (access == Access::read) return std::make_unique<ServiceTransaction>(std::nullopt);
    auto transaction = std::make_unique<ServiceTransaction>(
        heldLock(lockFile(), access == Access::readToChange ? readPatience : writePatience));
    if (access == Access::create && !transaction->hasUnlockedCollection()) {
        throw KeychainFailure{errSecInteractionNotAllowed};
    }
    return transaction;
}

std::unique_ptr<SecItemLock> SecretServiceItemStore::lock(SecItemHold hold) {
    const auto open = [this](SecItemHold) { return std::optional(lockFile()); };
    const auto prepare = [this](SecItemHold wanted) {
        if (wanted == SecItemHold::shared) rehearseChange();
    };
    return std::make_unique<KeychainLock>(hold, KeychainLock::Store{.lockFile = open, .prepare = prepare});
}

}  // namespace platform
