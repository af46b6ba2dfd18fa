#include "security/KeyRef.h"

#include "security/OpenSsl.h"
#include "security/Random.h"

#include <algorithm>
#include <mutex>
#include <new>

namespace kelpay {

namespace {

using openssl::libraryContext;

// Below, a key protects nothing; above, making one takes minutes.
constexpr unsigned fewestBits = 1024;
constexpr unsigned mostBits = 4096;

int selection(KeyRef::Half half)
{
    return half == KeyRef::Half::Public ? EVP_PKEY_PUBLIC_KEY : EVP_PKEY_KEYPAIR;
}

// One operation from `in` to a buffer of the key's block size. Some failures are negative and queue no error.
template <typename Operation>
std::optional<Bytes> transform(EVP_PKEY_CTX *context, Operation operation, const Bytes &in, std::size_t blockSize)
{
    BytesBuilder output(blockSize);
    std::size_t written = blockSize;
    if (operation(context, output.extend(blockSize), &written, in.data(), in.size()) <= 0)
        return std::nullopt;
    output.truncate(written);
    return output.take();
}

// The block that PKCS#1 v1.5 encrypts: 0, 2, random bytes other than 0, 0, the data. Made here, because OpenSSL would
// ask a random method that the host installed first.
std::optional<Bytes> padded(const Bytes &data, std::size_t blockSize)
{
    if (blockSize < KeyRef::paddingSize || data.size() > blockSize - KeyRef::paddingSize)
        return std::nullopt;
    BytesBuilder block(blockSize);
    block.append(std::string_view("\0\2", 2));
    for (std::size_t missing = blockSize - data.size() - 3; missing > 0;) {
        const auto random = generateSecureRandomData(missing);
        if (!random)
            return std::nullopt;
        auto *const begin = block.extend(missing);
        auto *const end = std::copy_if(random->span().begin(), random->span().end(), begin,
                                       [](std::uint8_t byte) { return byte != 0; });
        missing -= static_cast<std::size_t>(end - begin);
        block.truncate(block.size() - missing);
    }
    block.append('\0');
    block.append(data);
    return block.take();
}

} // namespace

struct KeyRef::Shared
{
    explicit Shared(openssl::Pkey owned) : key(std::move(owned)) {}

    openssl::PkeyContext newContext() const
    {
        return openssl::PkeyContext(EVP_PKEY_CTX_new_from_pkey(libraryContext(), key.get(), nullptr));
    }

    // By a context that is set up once, and used by one at a time: setting it up takes a tenth of what an encryption
    // takes.
    std::optional<Bytes> encrypted(const Bytes &block, std::size_t blockSize) const
    {
        const std::scoped_lock lock(m_mutex);
        if (!m_encryption) {
            auto context = newContext();
            if (context && EVP_PKEY_encrypt_init(context.get()) > 0 &&
                EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_NO_PADDING) > 0)
                m_encryption = std::move(context);
        }
        return m_encryption ? transform(m_encryption.get(), EVP_PKEY_encrypt, block, blockSize) : std::nullopt;
    }

    openssl::Pkey key;

private:
    mutable std::mutex m_mutex;
    mutable openssl::PkeyContext m_encryption;
};

KeyRef::KeyRef(evp_pkey_st *key) : m_shared(std::make_shared<const Shared>(openssl::Pkey(key))) {}

std::optional<KeyPair> KeyRef::generateRSA(unsigned bits)
try {
    if (bits < fewestBits || bits > mostBits)
        return std::nullopt;
    const openssl::ErrorScope errors;
    openssl::Pkey pair(EVP_PKEY_Q_keygen(libraryContext(), nullptr, "RSA", static_cast<std::size_t>(bits)));
    if (!pair)
        return std::nullopt;
    const KeyRef privateKey(pair.release());
    const auto der = privateKey.toPKCS1(Half::Public);
    const auto publicKey = der ? fromPKCS1(*der, Half::Public) : std::nullopt;
    return publicKey ? std::optional(KeyPair{*publicKey, privateKey}) : std::nullopt;
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

CertificateReading KeyRef::readCertificate(const Bytes &der)
try {
    const openssl::ErrorScope errors;
    const openssl::ThreadDefaultContext ours;
    const auto *in = der.data();
    const openssl::Certificate certificate(d2i_X509(nullptr, &in, static_cast<long>(der.size())));
    openssl::Pkey key(certificate ? X509_get_pubkey(certificate.get()) : nullptr);
    return {certificate != nullptr, key ? std::optional(KeyRef(key.release())) : std::nullopt};
} catch (const std::bad_alloc &) {
    return {};
}

std::optional<KeyRef> KeyRef::fromPKCS1(const Bytes &der, Half half)
try {
    const openssl::ErrorScope errors;
    EVP_PKEY *raw = nullptr;
    const openssl::Decoder decoder(
        OSSL_DECODER_CTX_new_for_pkey(&raw, "DER", "type-specific", "RSA", selection(half), libraryContext(), nullptr));
    const auto *in = der.data();
    auto length = der.size();
    const bool isDecoded = decoder && OSSL_DECODER_from_data(decoder.get(), &in, &length) > 0;
    openssl::Pkey key(raw);
    return isDecoded && key ? std::optional(KeyRef(key.release())) : std::nullopt;
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<Bytes> KeyRef::toPKCS1(Half half) const
try {
    const openssl::ErrorScope errors;
    if (EVP_PKEY_is_a(get(), "RSA") != 1)
        return std::nullopt;
    const auto encode = half == Half::Public ? i2d_PublicKey : i2d_PrivateKey;
    const int length = encode(get(), nullptr);
    if (length <= 0)
        return std::nullopt;
    BytesBuilder der(static_cast<std::size_t>(length));
    auto *out = der.extend(static_cast<std::size_t>(length));
    return encode(get(), &out) == length ? std::optional(der.take()) : std::nullopt;
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

evp_pkey_st *KeyRef::get() const
{
    return m_shared->key.get();
}

std::size_t KeyRef::blockSize() const
{
    return static_cast<std::size_t>(std::max(EVP_PKEY_get_size(get()), 0));
}

std::optional<Bytes> KeyRef::encrypt(const Bytes &data) const
try {
    const openssl::ErrorScope errors;
    const auto block = padded(data, blockSize());
    return block ? m_shared->encrypted(*block, blockSize()) : std::nullopt;
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<Bytes> KeyRef::decrypt(const Bytes &block) const
try {
    const openssl::ErrorScope errors;
    const auto context = m_shared->newContext();
    if (!context || EVP_PKEY_decrypt_init(context.get()) <= 0 ||
        EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) <= 0)
        return std::nullopt;
    return transform(context.get(), EVP_PKEY_decrypt, block, blockSize());
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

} // namespace kelpay
