#include "security/keychain/SealedValue.h"

#include "security/OpenSsl.h"
#include "security/Random.h"

#include <limits>
#include <new>

namespace kelpay {

namespace {

constexpr std::uint8_t version = 1;
constexpr std::size_t sealingKeySize = 32;
constexpr std::size_t nonceSize = 12;
constexpr std::size_t tagSize = 16;
constexpr std::size_t overhead = 1 + nonceSize + tagSize;

bool fits(const Bytes &bytes)
{
    return bytes.size() <= static_cast<std::size_t>(std::numeric_limits<int>::max()) - overhead;
}

// A context that has taken key, nonce and associated data; null on failure.
openssl::CipherContext begin(const Bytes &key, const std::uint8_t *nonce, const Bytes &context, int isEncryption)
{
    static openssl::Cipher gcmCipher("AES-256-GCM");
    const EVP_CIPHER *const cipher = gcmCipher.get();
    openssl::CipherContext gcm(EVP_CIPHER_CTX_new());
    int length = 0;
    if (!cipher || !gcm || key.size() != sealingKeySize || !fits(context) ||
        EVP_CipherInit_ex2(gcm.get(), cipher, key.data(), nonce, isEncryption, nullptr) <= 0 ||
        EVP_CipherUpdate(gcm.get(), nullptr, &length, context.data(), static_cast<int>(context.size())) <= 0)
        return nullptr;
    return gcm;
}

} // namespace

std::optional<Bytes> sealValue(const Bytes &key, const Bytes &plain, const Bytes &context)
try {
    const auto nonce = generateSecureRandomData(nonceSize);
    if (!nonce || !fits(plain))
        return std::nullopt;
    const openssl::ErrorScope errors;
    const auto gcm = begin(key, nonce->data(), context, 1);
    BytesBuilder sealed(plain.size() + overhead);
    sealed.append(static_cast<char>(version));
    sealed.append(*nonce);
    auto *text = sealed.extend(plain.size());
    auto *tag = sealed.extend(tagSize);
    int length = 0;
    int tail = 0;
    if (!gcm || EVP_CipherUpdate(gcm.get(), text, &length, plain.data(), static_cast<int>(plain.size())) <= 0 ||
        EVP_CipherFinal_ex(gcm.get(), text + length, &tail) <= 0 ||
        EVP_CIPHER_CTX_ctrl(gcm.get(), EVP_CTRL_AEAD_GET_TAG, tagSize, tag) <= 0)
        return std::nullopt;
    return sealed.take();
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<Bytes> openValue(const Bytes &key, const Bytes &sealed, const Bytes &context)
try {
    if (sealed.size() < overhead || !fits(sealed) || sealed.data()[0] != version)
        return std::nullopt;
    const openssl::ErrorScope errors;
    const auto *nonce = sealed.data() + 1;
    const auto *text = nonce + nonceSize;
    const std::size_t size = sealed.size() - overhead;
    const Bytes tag(text + size, tagSize);
    const auto gcm = begin(key, nonce, context, 0);
    BytesBuilder plain(size);
    auto *out = plain.extend(size);
    int length = 0;
    int tail = 0;
    if (!gcm ||
        EVP_CIPHER_CTX_ctrl(gcm.get(), EVP_CTRL_AEAD_SET_TAG, tagSize, const_cast<std::uint8_t *>(tag.data())) <= 0 ||
        EVP_CipherUpdate(gcm.get(), out, &length, text, static_cast<int>(size)) <= 0 ||
        EVP_CipherFinal_ex(gcm.get(), out + length, &tail) <= 0)
        return std::nullopt;
    return plain.take();
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

} // namespace kelpay
