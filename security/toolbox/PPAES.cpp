#include "security/toolbox/PPAES.h"

#include "security/BlockCipher.h"
#include "security/OneShotCipher.h"
#include "security/OpenSsl.h"

#include <new>

namespace kelpay {

namespace {

std::optional<Bytes> crypt(const Bytes &data, const QString &keyString, unsigned operation)
try {
    constexpr std::size_t keySize = 32;
    const Bytes text = Bytes::fromText(keyString);
    if (text.size() < keySize)
        return std::nullopt;
    const openssl::ErrorScope errors;
    return cryptOneShot({CipherAES, operation, true, false}, Bytes(text.data(), keySize), std::nullopt, data);
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

} // namespace

std::optional<Bytes> AES256EncryptWithKey(const Bytes &data, const QString &keyString)
{
    return crypt(data, keyString, CipherEncrypt);
}

std::optional<Bytes> AES256DecryptWithKey(const Bytes &data, const QString &keyString)
{
    return crypt(data, keyString, CipherDecrypt);
}

} // namespace kelpay
