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

ScriptedItemStore::Answer ScriptedItemStore::record(SecItemRequest request) {
    requests_.push_back(std::move(request));
    if (answers_.empty()) return {errSecItemNotFound, {}};
    Answer answer = std::move(answers_.front());
    answers_.pop_front();
    return answer;
}

}  // namespace platform::testing
