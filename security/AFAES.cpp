#include "security/AFAES.h"

#include "security/BlockCipher.h"
#include "security/Random.h"

#include <new>

namespace kelpay {

namespace {

std::shared_ptr<const Bytes> shared(const std::optional<Bytes> &bytes)
{
    return bytes ? std::make_shared<const Bytes>(*bytes) : nullptr;
}

std::optional<Bytes> value(const std::atomic<std::shared_ptr<const Bytes>> &property)
{
    const auto bytes = property.load();
    return bytes ? std::optional(*bytes) : std::nullopt;
}

} // namespace

AFAES &AFAES::sharedAFAES()
{
    static AFAES instance;
    return instance;
}

AFAES::AFAES()
{
    updateKeyWithKeySize(32);
    updateIV();
}

std::optional<Bytes> AFAES::key() const
{
    return value(m_key);
}

std::optional<Bytes> AFAES::iv() const
{
    return value(m_iv);
}

std::optional<Bytes> AFAES::doCipher(const std::optional<Bytes> &data, const std::optional<Bytes> &key,
                                     const std::optional<Bytes> &iv, unsigned operation)
try {
    static const std::uint8_t zeros[16] = {};
    m_key = shared(key);
    m_iv = shared(iv ? iv : Bytes(zeros));
    return doCipher(data, operation);
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<Bytes> AFAES::doCipher(const std::optional<Bytes> &data, unsigned operation, bool isPKCS7Padding) const
{
    return doBlockCipherWithAlgorithm(data, CipherAES, key(), iv(), operation, isPKCS7Padding);
}

std::optional<Bytes> AFAES::encryptWithKeySize(const std::optional<Bytes> &data, std::uint32_t keySize)
{
    if (const auto current = key(); !current || current->size() != keySize)
        updateKeyWithKeySize(keySize);
    return doCipher(data, CipherEncrypt);
}

std::optional<Bytes> AFAES::AES128Encrypt(const std::optional<Bytes> &data)
{
    return encryptWithKeySize(data, 16);
}

std::optional<Bytes> AFAES::AES192Encrypt(const std::optional<Bytes> &data)
{
    return encryptWithKeySize(data, 24);
}

std::optional<Bytes> AFAES::AES256Encrypt(const std::optional<Bytes> &data)
{
    return encryptWithKeySize(data, 32);
}

std::optional<Bytes> AFAES::AES128Decrypt(const std::optional<Bytes> &data) const
{
    return doCipher(data, CipherDecrypt);
}

std::optional<Bytes> AFAES::AES192Decrypt(const std::optional<Bytes> &data) const
{
    return doCipher(data, CipherDecrypt);
}

std::optional<Bytes> AFAES::AES256Decrypt(const std::optional<Bytes> &data) const
{
    return doCipher(data, CipherDecrypt);
}

void AFAES::updateKeyWithKeySize(std::uint32_t keySize)
try {
    m_key = shared(generateSymmetricKeyForAlgorithm(CipherAES, keySize));
} catch (const std::bad_alloc &) {
    m_key.store(nullptr);
}

void AFAES::updateIV()
try {
    m_iv = shared(generateIVForAlgorithm(CipherAES));
} catch (const std::bad_alloc &) {
    m_iv.store(nullptr);
}

} // namespace kelpay
