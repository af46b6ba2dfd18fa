#include "security/Digests.h"

#include "platform/Log.h"
#include "security/Md2.h"
#include "security/OpenSsl.h"

#include <array>

namespace kelpay {

namespace {

std::optional<Bytes> digest(const Bytes &data, const EVP_MD *algorithm)
{
    const openssl::ErrorScope errors;
    BytesBuilder builder(EVP_MAX_MD_SIZE);
    unsigned length = 0;
    if (!algorithm ||
        EVP_Digest(data.data(), data.size(), builder.extend(EVP_MAX_MD_SIZE), &length, algorithm, nullptr) <= 0) {
        qCWarning(logSecurity, "a message digest is not available: %s", openssl::ErrorScope::reason().constData());
        return std::nullopt;
    }
    builder.truncate(length);
    return builder.take();
}

EVP_MD *fetch(const char *name)
{
    const openssl::ErrorScope errors;
    return EVP_MD_fetch(openssl::libraryContext(), name, nullptr);
}

struct HmacTraits
{
    const char *digest;
    std::size_t length;
};

constexpr std::array<HmacTraits, 6> hmacTable{{
    {"SHA1", 20},
    {"MD5", 16},
    {"SHA256", 32},
    {"SHA384", 48},
    {"SHA512", 64},
    {"SHA224", 28},
}};

} // namespace

std::optional<Bytes> MD2(const Bytes &data)
{
    Md2 md2;
    md2.update(data.span());
    return md2.finish();
}

std::optional<Bytes> MD4(const Bytes &data)
{
    static const EVP_MD *const algorithm = fetch("MD4");
    return digest(data, algorithm);
}

std::optional<Bytes> MD5(const Bytes &data)
{
    static const EVP_MD *const algorithm = fetch("MD5");
    return digest(data, algorithm);
}

std::optional<Bytes> SHA1(const Bytes &data)
{
    static const EVP_MD *const algorithm = fetch("SHA1");
    return digest(data, algorithm);
}

std::optional<Bytes> SHA224(const Bytes &data)
{
    static const EVP_MD *const algorithm = fetch("SHA224");
    return digest(data, algorithm);
}

std::optional<Bytes> SHA256(const Bytes &data)
{
    static const EVP_MD *const algorithm = fetch("SHA256");
    return digest(data, algorithm);
}

std::optional<Bytes> SHA384(const Bytes &data)
{
    static const EVP_MD *const algorithm = fetch("SHA384");
    return digest(data, algorithm);
}

std::optional<Bytes> SHA512(const Bytes &data)
{
    static const EVP_MD *const algorithm = fetch("SHA512");
    return digest(data, algorithm);
}

std::size_t hmacLength(unsigned hmacAlgorithm)
{
    return hmacAlgorithm < hmacTable.size() ? hmacTable[hmacAlgorithm].length : 0;
}

std::optional<Bytes> HmacWithAlgorithm(const Bytes &data, unsigned hmacAlgorithm, const Bytes &key)
{
    if (hmacLength(hmacAlgorithm) == 0)
        return Bytes();
    const openssl::ErrorScope errors;
    const auto &[name, length] = hmacTable[hmacAlgorithm];
    BytesBuilder builder(length);
    // A null key would mean "keep the former one".
    const void *keyBytes = key.empty() ? "" : static_cast<const void *>(key.data());
    std::size_t written = 0;
    if (!EVP_Q_mac(openssl::libraryContext(), "HMAC", nullptr, name, nullptr, keyBytes, key.size(), data.data(),
                   data.size(), builder.extend(length), length, &written) ||
        written != length) {
        qCWarning(logSecurity, "an HMAC is not available: %s", openssl::ErrorScope::reason().constData());
        return std::nullopt;
    }
    return builder.take();
}

} // namespace kelpay
