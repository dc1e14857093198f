// SPDX-License-Identifier: Apache-2.0

#pragma once

// A keychain that answers what it was told to, in order, and remembers what it was asked. For one thread at a
// time.

#include <deque>
#include <vector>

#include "platform/Security/SecItem.hpp"

namespace platform::testing {

enum class SecItemCall { copyMatching, add, update, remove };

/// Where a transaction began and ended, counted in the requests before it.
struct SecItemTransactionRecord {
    std::size_t begin;
    std::size_t end;
    bool isCommitted;
    bool operator==(const SecItemTransactionRecord&) const = default;
};

struct SecItemRequest {
    SecItemCall call;
    /// The query, or what is to be added.
    SecAttributes attributes;
    SecAttributes attributesToUpdate = {};
    bool hasResultSlot = false;
    bool operator==(const SecItemRequest&) const = default;
};

class ScriptedItemStore : public SecItemStore {
  public:
    /// The answer to the next call that has none yet. A call without an answer is -25300.
    void answer(OSStatus status, SecResult result = {});

    const std::vector<SecItemRequest>& requests() const { return requests_; }

    OSStatus copyMatching(const SecAttributes& query, SecResult* result) override;
    OSStatus add(const SecAttributes& attributes) override;
    OSStatus update(const SecAttributes& query, const SecAttributes& attributesToUpdate) override;
    OSStatus remove(const SecAttributes& query) override;
    /// Remembered, and nothing else.
    std::unique_ptr<SecItemTransaction> beginTransaction() override;
    /// Held whenever asked for.
    std::unique_ptr<SecItemLock> lock(SecItemHold hold) override;

    /// In the order of their ends.
    const std::vector<SecItemTransactionRecord>& transactions() const { return transactions_; }

  private:
    class Transaction;
    class Lock;

    struct Answer {
        OSStatus status;
        SecResult result;
    };
    Answer record(SecItemRequest request);

    std::deque<Answer> answers_;
    std::vector<SecItemRequest> requests_;
    std::vector<SecItemTransactionRecord> transactions_;
};

}  // namespace platform::testing
