#pragma once

// The desktop user's keyring (the Secret Service on the session bus) as a keychain. Items lie in the default
// collection under a schema of their own, their text attributes as the items' attributes; the service keeps
// the dates, to the second. Never asks the person anything: a locked collection is -25308, a missing service
// -25291. Texts that the bus cannot carry (ill-formed UTF-8, a zero byte) are -50. Safe from any thread.

#include "platform/Security/KeychainStore.hpp"

namespace platform {

class SecretServiceItemStore : public KeychainStore {
  protected:
    std::unique_ptr<KeychainTransaction> begin(Access access) override;
};

}  // namespace platform
