#include "security/KeyRef.h"

#include "security/OpenSsl.h"

#include <algorithm>
#include <mutex>

namespace kelpay {

namespace {

using openssl::libraryContext;

bool usePkcs1(EVP_PKEY_CTX *context)
{
    return EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PADDING) > 0;
}

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

bool useDigest(EVP_PKEY_CTX *context, const char *name)
{
    if (!name)
        return true;
    const OSSL_PARAM params[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_SIGNATURE_PARAM_DIGEST, const_cast<char *>(name), 0),
        OSSL_PARAM_construct_end()};
    return EVP_PKEY_CTX_set_params(context, params) > 0;
}

// Undone by hand, because OpenSSL takes the recovery of an empty text for a failure.
bool signsNothing(EVP_PKEY_CTX *context, const Bytes &signature, std::size_t blockSize)
{
    if (EVP_PKEY_verify_recover_init(context) <= 0 || EVP_PKEY_CTX_set_rsa_padding(context, RSA_NO_PADDING) <= 0)
        return false;
    const auto block = transform(context, EVP_PKEY_verify_recover, signature, blockSize);
    if (!block || block->size() != blockSize || blockSize < 11)
        return false;
    const auto bytes = block->span();
    return bytes[0] == 0 && bytes[1] == 1 && bytes.back() == 0 &&
           std::all_of(bytes.begin() + 2, bytes.end() - 1, [](std::uint8_t byte) { return byte == 0xff; });
}

} // namespace

struct KeyRef::Shared
{
    explicit Shared(EVP_PKEY *owned) : key(owned) {}

    openssl::PkeyContext newContext() const
    {
        return openssl::PkeyContext(EVP_PKEY_CTX_new_from_pkey(libraryContext(), key.get(), nullptr));
    }

    // A copy of a context that is set up once: that takes a tenth of what an encryption takes.
    openssl::PkeyContext encryptionContext() const
    {
        std::call_once(m_once, [this] {
            auto context = newContext();
            if (context && EVP_PKEY_encrypt_init(context.get()) > 0 && usePkcs1(context.get()))
                m_encryption = std::move(context);
        });
        return openssl::PkeyContext(m_encryption ? EVP_PKEY_CTX_dup(m_encryption.get()) : nullptr);
    }

    openssl::Pkey key;

private:
    mutable std::once_flag m_once;
    mutable openssl::PkeyContext m_encryption;
};

KeyRef::KeyRef(evp_pkey_st *key) : m_shared(std::make_shared<const Shared>(key)) {}

std::optional<KeyPair> KeyRef::generateRSA(unsigned bits)
{
    const openssl::ErrorScope errors;
    openssl::Pkey pair(EVP_PKEY_Q_keygen(libraryContext(), nullptr, "RSA", static_cast<std::size_t>(bits)));
    if (!pair)
        return std::nullopt;
    const KeyRef privateKey(pair.release());
    const auto der = privateKey.toPKCS1(Half::Public);
    const auto publicKey = der ? fromPKCS1(*der, Half::Public) : std::nullopt;
    return publicKey ? std::optional(KeyPair{*publicKey, privateKey}) : std::nullopt;
}

CertificateReading KeyRef::readCertificate(const Bytes &der)
{
    const openssl::ErrorScope errors;
    const openssl::ThreadDefaultContext ours;
    const auto *in = der.data();
    const openssl::Certificate certificate(d2i_X509(nullptr, &in, static_cast<long>(der.size())));
    openssl::Pkey key(certificate ? X509_get_pubkey(certificate.get()) : nullptr);
    return {certificate != nullptr, key ? std::optional(KeyRef(key.release())) : std::nullopt};
}

std::optional<KeyRef> KeyRef::fromPKCS1(const Bytes &der, Half half)
{
    const openssl::ErrorScope errors;
    EVP_PKEY *raw = nullptr;
    const openssl::Decoder decoder(
        OSSL_DECODER_CTX_new_for_pkey(&raw, "DER", "type-specific", "RSA", selection(half), libraryContext(), nullptr));
    const auto *in = der.data();
    auto length = der.size();
    const bool isDecoded = decoder && OSSL_DECODER_from_data(decoder.get(), &in, &length) > 0;
    openssl::Pkey key(raw);
    return isDecoded && key ? std::optional(KeyRef(key.release())) : std::nullopt;
}

std::optional<Bytes> KeyRef::toPKCS1(Half half) const
{
    const openssl::ErrorScope errors;
    if (EVP_PKEY_is_a(m_shared->key.get(), "RSA") != 1)
        return std::nullopt;
    const auto encode = half == Half::Public ? i2d_PublicKey : i2d_PrivateKey;
    unsigned char *der = nullptr;
    const int length = encode(m_shared->key.get(), &der);
    if (length <= 0)
        return std::nullopt;
    const Bytes bytes(der, static_cast<std::size_t>(length));
    OPENSSL_clear_free(der, bytes.size());
    return bytes;
}

std::size_t KeyRef::blockSize() const
{
    return static_cast<std::size_t>(std::max(EVP_PKEY_get_size(m_shared->key.get()), 0));
}

bool KeyRef::matches(const KeyRef &other) const
{
    const openssl::ErrorScope errors;
    return EVP_PKEY_eq(m_shared->key.get(), other.m_shared->key.get()) == 1;
}

std::optional<Bytes> KeyRef::encrypt(const Bytes &data) const
{
    const openssl::ErrorScope errors;
    const auto context = m_shared->encryptionContext();
    return context ? transform(context.get(), EVP_PKEY_encrypt, data, blockSize()) : std::nullopt;
}

std::optional<Bytes> KeyRef::decrypt(const Bytes &block) const
{
    const openssl::ErrorScope errors;
    const auto context = m_shared->newContext();
    if (!context || EVP_PKEY_decrypt_init(context.get()) <= 0 || !usePkcs1(context.get()))
        return std::nullopt;
    return transform(context.get(), EVP_PKEY_decrypt, block, blockSize());
}

std::optional<Bytes> KeyRef::sign(const Bytes &digest, const char *digestName) const
{
    const openssl::ErrorScope errors;
    const auto context = m_shared->newContext();
    if (!context || EVP_PKEY_sign_init(context.get()) <= 0 || !usePkcs1(context.get()) ||
        !useDigest(context.get(), digestName))
        return std::nullopt;
    return transform(context.get(), EVP_PKEY_sign, digest, blockSize());
}

bool KeyRef::verify(const Bytes &digest, const char *digestName, const Bytes &signature) const
{
    const openssl::ErrorScope errors;
    const auto context = m_shared->newContext();
    if (!context || signature.size() != blockSize())
        return false;
    if (!digestName && digest.empty())
        return signsNothing(context.get(), signature, blockSize());
    return EVP_PKEY_verify_init(context.get()) > 0 && usePkcs1(context.get()) && useDigest(context.get(), digestName) &&
           EVP_PKEY_verify(context.get(), signature.data(), signature.size(), digest.data(), digest.size()) > 0;
}

} // namespace kelpay
