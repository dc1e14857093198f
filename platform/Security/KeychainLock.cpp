// SPDX-License-Identifier: Apache-2.0

#include "platform/Security/KeychainLock.hpp"

#include "platform/Security/KeychainFailure.hpp"

namespace platform {

using Byte = LockFile::Byte;
using Mode = LockFile::Mode;

OSStatus KeychainLock::tryAcquire() {
    const OSStatus status = keychainStatusOf([this]() -> OSStatus {
        if (!file_) file_ = store_.lockFile(hold_);
        if (!file_) return errSecItemNotFound;
        if (!(hold_ == SecItemHold::shared ? tryShared() : tryExclusive()))
            return errSecInteractionNotAllowed;
        prepare();
        return errSecSuccess;
    });
    const bool isWaiting = status == errSecInteractionNotAllowed;
    if (status != errSecSuccess && !isWaiting) file_.reset();
    return status;
}

void KeychainLock::prepare() const {
    if (!store_.prepare) return;
    try {
        store_.prepare(hold_);
    } catch (const KeychainFailure& failure) {
        // To the caller that status would say that the lock is another's for a moment.
        if (failure.status != errSecInteractionNotAllowed) throw;
        throw KeychainFailure{errSecIO, (failure.fault.empty() ? "the keychain is locked" : failure.fault) +
                                            ", so that a renewed token could not be kept"};
    }
}

bool KeychainLock::tryShared() {
    if (!file_->tryLock(Byte::queue, Mode::shared)) return false;
    const bool isHeld = file_->tryLock(Byte::renewal, Mode::shared);
    file_->unlock(Byte::queue);
    return isHeld;
}

bool KeychainLock::tryExclusive() {
    return file_->tryLock(Byte::queue, Mode::exclusive) && file_->tryLock(Byte::renewal, Mode::exclusive);
}

}  // namespace platform
