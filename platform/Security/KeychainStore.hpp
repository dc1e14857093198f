// SPDX-License-Identifier: Apache-2.0

#pragma once

// The four calls' algorithms, over whatever keeps the items. A kind of store says how a transaction on it
// begins; everything a caller can see is decided here, once for all kinds.

#include <functional>
#include <memory>
#include <vector>

#include "platform/Security/KeychainFailure.hpp"
#include "platform/Security/KeychainItem.hpp"
#include "platform/Security/SecItem.hpp"

namespace platform {

/// A view of the items that no other process changes, unless it is only for reading. Destroyed without a
/// commit, it leaves the store as it was.
class KeychainTransaction {
  public:
    virtual ~KeychainTransaction() = default;

    /// In order of creation.
    virtual std::vector<KeychainItem> items(const KeychainQuery& query) = 0;
    virtual void insert(const KeychainItem& item) = 0;
    /// Puts `replacement` in the place of the item that has the identity of `item`.
    virtual void replace(const KeychainItem& item, const KeychainItem& replacement) = 0;
    virtual void erase(const KeychainItem& item) = 0;
    virtual void commit() = 0;
    /// Makes a change as any other, down to the disk or the service, and takes it back. Throws where it could
    /// not be kept. The last call.
    virtual void rehearse() = 0;
};

class KeychainStore : public SecItemStore {
  public:
    OSStatus copyMatching(const SecAttributes& query, SecResult* result) final;
    OSStatus add(const SecAttributes& attributes) final;
    OSStatus update(const SecAttributes& query, const SecAttributes& attributesToUpdate) final;
    OSStatus remove(const SecAttributes& query) final;
    std::unique_ptr<SecItemTransaction> beginTransaction() final;

  protected:
    enum class Access {
        read,
        /// As `change`, but with no more patience than `read`.
        readToChange,
        change,
        create,
    };

    /// Nothing when there is no store yet and `access` does not create one: there are no items then.
    virtual std::unique_ptr<KeychainTransaction> begin(Access access) = 0;

    /// Throws KeychainFailure where a change could not be kept now. Nothing is asked of a store that is not
    /// there.
    void rehearseChange();

  private:
    class Scope;
    struct Change;

    OSStatus apply(const Change& change);
};

}  // namespace platform
