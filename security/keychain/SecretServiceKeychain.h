#pragma once

#include "security/keychain/KeychainStore.h"

namespace kelpay {

/// The keychain in the desktop's keyring: the default collection of the secret service on the session bus, which is
/// never unlocked from here. Every call is a conversation of its own, over after two seconds, with a bus connection and
/// a main context of its own; the host's are not touched. Writers take turns by owning a name on the bus.
/// A call for several items that fails in the middle takes its additions back; where the daemon itself is gone by then,
/// they stay, and so do the updates and deletions made so far.
/// A text that holds a zero character can't name an item: adding one is -50, and none is found.
class SecretServiceKeychain : public KeychainStore
{
public:
    int add(const std::vector<KeychainItem> &items) override;
    int update(const KeychainMatch &match, const Bytes &value) override;
    int remove(const KeychainMatch &match) override;
    KeychainFound findOne(const KeychainMatch &match, Content content) override;
    KeychainFound findAll(const KeychainMatch &match) override;
};

} // namespace kelpay
