#include "security/Random.h"

#include "platform/Log.h"
#include "security/BlockCipher.h"
#include "security/OpenSsl.h"

#include <algorithm>
#include <new>

namespace kelpay {

std::optional<Bytes> generateSecureRandomData(std::size_t length)
try {
    BytesBuilder builder(length);
    const openssl::ErrorScope errors;
    // RAND_bytes_ex would ask a method that the host installed first.
    EVP_RAND_CTX *generator = RAND_get0_private(openssl::libraryContext());
    if (length > 0 &&
        (!generator || EVP_RAND_generate(generator, builder.extend(length), length, 0, 0, nullptr, 0) <= 0)) {
        qCWarning(logSecurity, "+[NSData(AFCryptoPRNG) generateSecureRandomData:]: %s",
                  openssl::ErrorScope::reason().constData());
        return std::nullopt;
    }
    return builder.take();
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

std::optional<Bytes> generateSymmetricKeyForAlgorithm(unsigned algorithm)
{
    return generateSecureRandomData(cipherTraits(algorithm).defaultKeySize);
}

std::optional<Bytes> generateSymmetricKeyForAlgorithm(unsigned algorithm, std::uint32_t keySize)
{
    const auto &traits = cipherTraits(algorithm);
    std::size_t size = std::clamp<std::size_t>(keySize, traits.minimumKeySize, traits.defaultKeySize);
    if (traits.keyStep > 1) // AES: 16, 24, 32
        size = (size + traits.keyStep - 1) / traits.keyStep * traits.keyStep;
    return generateSecureRandomData(size);
}

std::optional<Bytes> generateIVForAlgorithm(unsigned algorithm)
{
    return generateSecureRandomData(cipherTraits(algorithm).blockSize);
}

} // namespace kelpay
