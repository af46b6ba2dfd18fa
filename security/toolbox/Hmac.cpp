#include "security/toolbox/Hmac.h"

#include "platform/Log.h"
#include "security/OpenSsl.h"
#include "security/Random.h"

#include <array>
#include <new>

namespace kelpay {

namespace {

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

std::optional<Bytes> HmacWithAlgorithm(const Bytes &data, unsigned hmacAlgorithm, const Bytes &key)
try {
    if (hmacAlgorithm >= hmacTable.size())
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
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<Bytes> generateHmacKeyForAlgorithm(unsigned hmacAlgorithm)
{
    return generateSecureRandomData(hmacAlgorithm < hmacTable.size() ? hmacTable[hmacAlgorithm].length : 0);
}

} // namespace kelpay
