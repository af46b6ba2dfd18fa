#include "security/keychain/FileKeychain.h"

namespace kelpay {

KeychainStore &KeychainStore::shared()
{
    static FileKeychain store;
    return store;
}

} // namespace kelpay
