#include "platform/Security/KeychainStore.hpp"

#include <exception>

namespace platform {
namespace {

template <typename Work>
OSStatus statusOf(Work work) {
    try {
        return work();
    } catch (const KeychainFailure& failure) {
        return failure.status;
    } catch (const std::exception&) {
        return errSecIO;
    }
}

}  // namespace

OSStatus KeychainStore::copyMatching(const SecAttributes& asked, SecResult* result) {
    return statusOf([&] {
        const auto query = KeychainQuery::toCopy(asked);
        if (!query) return errSecParam;
        const auto transaction = begin(Access::read);
        if (!transaction) return errSecItemNotFound;
        const auto matches = transaction->items(*query);
        if (matches.empty()) return errSecItemNotFound;
        if (result) *result = query->result(matches);
        return errSecSuccess;
    });
}

OSStatus KeychainStore::add(const SecAttributes& attributes) {
    return statusOf([&] {
        const auto item = KeychainItem::fromAttributes(attributes, Date::now());
        if (!item) return errSecParam;
        const auto transaction = begin(Access::create);
        if (!transaction->items(KeychainQuery::forIdentity(*item)).empty()) return errSecDuplicateItem;
        transaction->insert(*item);
        transaction->commit();
        return errSecSuccess;
    });
}

OSStatus KeychainStore::update(const SecAttributes& asked, const SecAttributes& attributesToUpdate) {
    return statusOf([&] {
        const auto query = KeychainQuery::toChange(asked);
        const auto change = KeychainUpdate::fromAttributes(attributesToUpdate, Date::now());
        if (!query || !change) return errSecParam;
        const auto transaction = begin(Access::change);
        if (!transaction) return errSecItemNotFound;
        const auto matches = transaction->items(*query);
        if (matches.empty()) return errSecItemNotFound;
        for (const KeychainItem& item : matches) {
            const KeychainItem replacement = change->appliedTo(item);
            const bool isTaken = !replacement.hasIdentityOf(item) &&
                                 !transaction->items(KeychainQuery::forIdentity(replacement)).empty();
            if (isTaken) return errSecDuplicateItem;
            transaction->replace(item, replacement);
        }
        transaction->commit();
        return errSecSuccess;
    });
}

OSStatus KeychainStore::remove(const SecAttributes& asked) {
    return statusOf([&] {
        const auto query = KeychainQuery::toChange(asked);
        if (!query) return errSecParam;
        const auto transaction = begin(Access::change);
        if (!transaction) return errSecItemNotFound;
        const auto matches = transaction->items(*query);
        if (matches.empty()) return errSecItemNotFound;
        for (const KeychainItem& item : matches) transaction->erase(item);
        transaction->commit();
        return errSecSuccess;
    });
}

}  // namespace platform
