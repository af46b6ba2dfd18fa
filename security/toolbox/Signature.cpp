// AFRSA's signatures, which no payment makes.

#include "security/AFRSA.h"
#include "security/Digests.h"
#include "security/OpenSsl.h"

#include <algorithm>
#include <new>

namespace kelpay {

namespace {

// What is signed: the digest, and OpenSSL's name for how it was made. Null for none.
struct SignedDigest
{
    const char *name;
    std::optional<Bytes> digest;
};

SignedDigest digestFor(std::uint32_t padding, const Bytes &data)
{
    switch (padding) {
    case AFRSA::PaddingPKCS1SHA1:
        return {"SHA1", SHA1(data)};
    case AFRSA::PaddingPKCS1SHA224:
        return {"SHA224", SHA224(data)};
    case AFRSA::PaddingPKCS1SHA256:
        return {"SHA256", SHA256(data)};
    case AFRSA::PaddingPKCS1SHA384:
        return {"SHA384", SHA384(data)};
    case AFRSA::PaddingPKCS1SHA512:
        return {"SHA512", SHA512(data)};
    default:
        return {nullptr, Bytes()};
    }
}

openssl::PkeyContext contextOf(const KeyRef &key)
{
    return openssl::PkeyContext(EVP_PKEY_CTX_new_from_pkey(openssl::libraryContext(), key.get(), nullptr));
}

bool usePadding(EVP_PKEY_CTX *context, int padding, const char *digestName)
{
    const OSSL_PARAM params[] = {
        OSSL_PARAM_construct_utf8_string(OSSL_SIGNATURE_PARAM_DIGEST, const_cast<char *>(digestName), 0),
        OSSL_PARAM_construct_end()};
    return EVP_PKEY_CTX_set_rsa_padding(context, padding) > 0 &&
           (!digestName || EVP_PKEY_CTX_set_params(context, params) > 0);
}

// Undone by hand, because OpenSSL takes the recovery of an empty text for a failure.
bool signsNothing(EVP_PKEY_CTX *context, const Bytes &signature)
{
    std::size_t size = signature.size();
    BytesBuilder builder(size);
    if (EVP_PKEY_verify_recover_init(context) <= 0 || !usePadding(context, RSA_NO_PADDING, nullptr) ||
        EVP_PKEY_verify_recover(context, builder.extend(size), &size, signature.data(), signature.size()) <= 0 ||
        size != signature.size() || size < KeyRef::paddingSize)
        return false;
    const Bytes block = builder.take();
    const auto bytes = block.span();
    return bytes[0] == 0 && bytes[1] == 1 && bytes.back() == 0 &&
           std::all_of(bytes.begin() + 2, bytes.end() - 1, [](std::uint8_t byte) { return byte == 0xff; });
}

} // namespace

std::optional<Bytes> AFRSA::signDataWithPrivateKey(const Bytes &data) const
try {
    const openssl::ErrorScope errors;
    const auto key = privateKey();
    const auto [name, digest] = digestFor(m_padding, data);
    const auto context = key ? contextOf(*key) : nullptr;
    if (!context || !digest || EVP_PKEY_sign_init(context.get()) <= 0 ||
        !usePadding(context.get(), RSA_PKCS1_PADDING, name))
        return std::nullopt;
    std::size_t size = key->blockSize();
    BytesBuilder signature(size);
    if (EVP_PKEY_sign(context.get(), signature.extend(size), &size, digest->data(), digest->size()) <= 0)
        return std::nullopt;
    signature.truncate(size);
    return signature.take();
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

bool AFRSA::verifyDataWithPublicKey(const Bytes &data, const Bytes &signature) const
try {
    const openssl::ErrorScope errors;
    const auto key = publicKey();
    const auto [name, digest] = digestFor(m_padding, data);
    const auto context = key ? contextOf(*key) : nullptr;
    if (!context || !digest || signature.size() != key->blockSize())
        return false;
    if (!name)
        return signsNothing(context.get(), signature);
    return EVP_PKEY_verify_init(context.get()) > 0 && usePadding(context.get(), RSA_PKCS1_PADDING, name) &&
           EVP_PKEY_verify(context.get(), signature.data(), signature.size(), digest->data(), digest->size()) > 0;
} catch (const std::bad_alloc &) {
    return false;
}

} // namespace kelpay
