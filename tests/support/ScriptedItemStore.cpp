// SPDX-License-Identifier: Apache-2.0

#include "tests/support/ScriptedItemStore.hpp"

#include <utility>

namespace platform::testing {

void ScriptedItemStore::answer(OSStatus status, SecResult result) {
    answers_.push_back({status, std::move(result)});
}

OSStatus ScriptedItemStore::copyMatching(const SecAttributes& query, SecResult* result) {
    Answer answer =
        record({.call = SecItemCall::copyMatching, .attributes = query, .hasResultSlot = result != nullptr});
    if (result && answer.status == errSecSuccess) *result = std::move(answer.result);
    return answer.status;
}

OSStatus ScriptedItemStore::add(const SecAttributes& attributes) {
    return record({.call = SecItemCall::add, .attributes = attributes}).status;
}

OSStatus ScriptedItemStore::update(const SecAttributes& query, const SecAttributes& attributesToUpdate) {
    return record(
               {.call = SecItemCall::update, .attributes = query, .attributesToUpdate = attributesToUpdate})
        .status;
}

OSStatus ScriptedItemStore::remove(const SecAttributes& query) {
    return record({.call = SecItemCall::remove, .attributes = query}).status;
}

class ScriptedItemStore::Transaction : public SecItemTransaction {
  public:
    explicit Transaction(ScriptedItemStore& store) : store_(store), begin_(store.requests_.size()) {}
    ~Transaction() override {
        store_.transactions_.push_back(
            {.begin = begin_, .end = store_.requests_.size(), .isCommitted = isCommitted_});
    }
    OSStatus commit() override {
        isCommitted_ = true;
        return errSecSuccess;
    }
    const std::vector<std::string>& lostAccounts() const override { return lostAccounts_; }

  private:
    ScriptedItemStore& store_;
    std::size_t begin_;
    bool isCommitted_ = false;
    std::vector<std::string> lostAccounts_;
};

class ScriptedItemStore::Lock : public SecItemLock {
  public:
    OSStatus tryAcquire() override { return errSecSuccess; }
};

std::unique_ptr<SecItemTransaction> ScriptedItemStore::beginTransaction() {
    return std::make_unique<Transaction>(*this);
}

std::unique_ptr<SecItemLock> ScriptedItemStore::lock(SecItemHold) {
    return std::make_unique<Lock>();
}

ScriptedItemStore::Answer ScriptedItemStore::record(SecItemRequest request) {
    requests_.push_back(std::move(request));
    if (answers_.empty()) return {errSecItemNotFound, {}};
    Answer answer = std::move(answers_.front());
    answers_.pop_front();
    return answer;
}

}  // namespace platform::testing
