// SPDX-License-Identifier: Apache-2.0

#include "platform/Security/KeychainStore.hpp"

#include <optional>
#include <utility>

namespace platform {

/// A call that writes: how it begins, what it does, and which account it is about.
struct KeychainStore::Change {
    Access access;
    /// Nothing when the attributes are unusable.
    std::function<OSStatus(KeychainTransaction&)> work;
    const SecAttributes& attributes;
    /// A status other than success that is no failure.
    OSStatus tolerated = errSecSuccess;
};

/// What one thread does to one store between a transaction's beginning and its end.
class KeychainStore::Scope : public SecItemTransaction {
  public:
    explicit Scope(KeychainStore& store)
        : store_(store), outer_(of(store)), previous_(std::exchange(innermost_, this)) {}
    ~Scope() override {
        innermost_ = previous_;
        if (outer_ && !isAgreed_) outer_->fail({errSecIO});
    }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

    /// This thread's outermost on that store, if there is one.
    static Scope* of(const KeychainStore& store) {
        for (Scope* scope = innermost_; scope; scope = scope->previous_)
            if (&scope->store_ == &store) return scope->outer_ ? scope->outer_ : scope;
        return nullptr;
    }

    void throwIfFailed() const {
        if (hasFailed()) throw failure_;
    }
    /// The store's own, if it has been begun.
    KeychainTransaction* transaction() const { return transaction_.get(); }
    /// The store's own; nothing where there is no store.
    KeychainTransaction* begun(Access access) {
        if (obstacle_) throw *obstacle_;
        if (!transaction_) transaction_ = store_.begin(access);
        return transaction_.get();
    }
    /// Begun for a read that has found nothing, and must be sure of it if a write follows. Nothing where
    /// another process is changing the store: no write follows then.
    KeychainTransaction* begunToBeSure() {
        try {
            return obstacle_ ? nullptr : begun(Access::readToChange);
        } catch (const KeychainFailure& failure) {
            if (failure.status != errSecInteractionNotAllowed) throw;
            obstacle_ = failure;
            return nullptr;
        }
    }

    OSStatus keep(OSStatus status, const Change& change) {
        if (status == errSecSuccess) {
            const auto account = change.attributes.find(kSecAttrAccount);
            if (account != change.attributes.end())
                accounts_.push_back(std::get<std::string>(account->second));
        } else if (status != change.tolerated) {
            fail({status, SecItemFault()});
        }
        return status;
    }

    /// Lets go of the store at once.
    void fail(const KeychainFailure& failure) {
        if (!hasFailed()) failure_ = failure;
        transaction_.reset();
    }

    OSStatus commit() override {
        isAgreed_ = true;
        const OSStatus status = keychainStatusOf([this] {
            (outer_ ? outer_ : this)->throwIfFailed();
            if (transaction_) transaction_->commit();
            return errSecSuccess;
        });
        if (status != errSecSuccess) fail({status, SecItemFault()});
        transaction_.reset();
        return status;
    }

    const std::vector<std::string>& lostAccounts() const override { return accounts_; }

  private:
    bool hasFailed() const { return failure_.status != errSecSuccess; }

    static thread_local Scope* innermost_;

    KeychainStore& store_;
    Scope* outer_;
    Scope* previous_;
    std::unique_ptr<KeychainTransaction> transaction_;
    KeychainFailure failure_ = {errSecSuccess};
    /// Why every write fails, though reads are answered.
    std::optional<KeychainFailure> obstacle_;
    std::vector<std::string> accounts_;
    bool isAgreed_ = false;
};

thread_local KeychainStore::Scope* KeychainStore::Scope::innermost_ = nullptr;

namespace {

std::vector<KeychainItem> itemsIn(KeychainTransaction* transaction, const KeychainQuery& query) {
    return transaction ? transaction->items(query) : std::vector<KeychainItem>();
}

OSStatus insertNew(KeychainTransaction& transaction, const KeychainItem& item) {
    if (!transaction.items(KeychainQuery::forIdentity(item)).empty()) return errSecDuplicateItem;
    transaction.insert(item);
    return errSecSuccess;
}

OSStatus updateMatches(KeychainTransaction& transaction, const KeychainQuery& query,
                       const KeychainUpdate& change) {
    const auto matches = transaction.items(query);
    if (matches.empty()) return errSecItemNotFound;
    for (const KeychainItem& item : matches) {
        const KeychainItem replacement = change.appliedTo(item);
        const bool isTaken = !replacement.hasIdentityOf(item) &&
                             !transaction.items(KeychainQuery::forIdentity(replacement)).empty();
        if (isTaken) return errSecDuplicateItem;
        transaction.replace(item, replacement);
    }
    return errSecSuccess;
}

OSStatus eraseMatches(KeychainTransaction& transaction, const KeychainQuery& query) {
    const auto matches = transaction.items(query);
    if (matches.empty()) return errSecItemNotFound;
    for (const KeychainItem& item : matches) transaction.erase(item);
    return errSecSuccess;
}

}  // namespace

OSStatus KeychainStore::copyMatching(const SecAttributes& asked, SecResult* result) {
    return keychainStatusOf([&]() -> OSStatus {
        const auto query = KeychainQuery::toCopy(asked);
        if (!query) return errSecParam;
        Scope* scope = Scope::of(*this);
        if (scope) scope->throwIfFailed();
        std::vector<KeychainItem> matches;
        // Whoever asks without a result slot is about to write, and to add what is not there.
        const bool mayReadAside = !scope || (!scope->transaction() && result);
        if (mayReadAside) matches = itemsIn(begin(Access::read).get(), *query);
        // What follows may rest on there being nothing, so it must stay true.
        if (scope && matches.empty()) {
            try {
                auto* own = result ? scope->begunToBeSure() : scope->begun(Access::create);
                matches = itemsIn(own, *query);
            } catch (const KeychainFailure& failure) {
                scope->fail(failure);
                throw;
            } catch (const std::exception&) {
                scope->fail({errSecIO});
                throw;
            }
        }
        if (matches.empty()) return errSecItemNotFound;
        if (result) *result = query->result(matches);
        return errSecSuccess;
    });
}

OSStatus KeychainStore::add(const SecAttributes& attributes) {
    Change adding = {.access = Access::create, .work = nullptr, .attributes = attributes};
    if (const auto item = KeychainItem::fromAttributes(attributes, Date::now()))
        adding.work = [item](KeychainTransaction& transaction) { return insertNew(transaction, *item); };
    return apply(adding);
}

OSStatus KeychainStore::update(const SecAttributes& asked, const SecAttributes& attributesToUpdate) {
    Change updating = {.access = Access::change, .work = nullptr, .attributes = asked};
    const auto query = KeychainQuery::toChange(asked);
    const auto update = KeychainUpdate::fromAttributes(attributesToUpdate, Date::now());
    if (query && update)
        updating.work = [&](KeychainTransaction& transaction) {
            return updateMatches(transaction, *query, *update);
        };
    return apply(updating);
}

OSStatus KeychainStore::remove(const SecAttributes& asked) {
    Change removing = {
        .access = Access::change, .work = nullptr, .attributes = asked, .tolerated = errSecItemNotFound};
    const auto query = KeychainQuery::toChange(asked);
    if (query)
        removing.work = [&](KeychainTransaction& transaction) { return eraseMatches(transaction, *query); };
    return apply(removing);
}

OSStatus KeychainStore::apply(const Change& change) {
    Scope* scope = Scope::of(*this);
    const OSStatus status = keychainStatusOf([&]() -> OSStatus {
        if (scope) scope->throwIfFailed();
        if (!change.work) return errSecParam;
        const auto own = scope ? nullptr : begin(change.access);
        KeychainTransaction* transaction = scope ? scope->begun(change.access) : own.get();
        if (!transaction) return errSecItemNotFound;
        const OSStatus result = change.work(*transaction);
        if (own && result == errSecSuccess) own->commit();
        return result;
    });
    return scope ? scope->keep(status, change) : status;
}

void KeychainStore::rehearseChange() {
    if (const auto transaction = begin(Access::readToChange)) transaction->rehearse();
}

std::unique_ptr<SecItemTransaction> KeychainStore::beginTransaction() {
    return std::make_unique<Scope>(*this);
}

}  // namespace platform
