#include "security/keychain/SecretServiceKeychain.h"

namespace kelpay {

KeychainStore &KeychainStore::shared()
{
    static SecretServiceKeychain store;
    return store;
}

} // namespace kelpay
