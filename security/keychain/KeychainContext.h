#pragma once

#include "security/keychain/KeychainStore.h"

namespace kelpay {

/// The bytes that name `item` among all others: what a store binds a value to, so that it can't stand in another item.
/// Never the value itself. Any thread.
Bytes contextOf(const KeychainItem &item);

} // namespace kelpay
