#include "security/BlockCipher.h"

#include "platform/Log.h"
#include "security/OneShotCipher.h"
#include "security/OpenSsl.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <new>

namespace kelpay {

namespace {

// Atomic so that overlapping callers find one value or the other; nothing orders them.
std::atomic<std::size_t> sharedExtraPadding{0};

Bytes filledUp(const Bytes &data, std::size_t zeros)
{
    BytesBuilder builder(data.size() + zeros);
    builder.append(data);
    std::fill_n(builder.extend(zeros), zeros, std::uint8_t{0});
    return builder.take();
}

Bytes cut(const Bytes &data, std::size_t tail)
{
    return {data.data(), data.size() - std::min(tail, data.size())};
}

} // namespace

const CipherTraits &cipherTraits(unsigned algorithm)
{
    static constexpr std::array<CipherTraits, 7> table{{
        {16, 32, 8, 16},
        {8, 8, 1, 8},
        {24, 24, 1, 8},
        {5, 16, 1, 8},
        {1, 512, 1, 16},
        {1, 128, 1, 8},
        {8, 56, 1, 8},
    }};
    return table[algorithm < table.size() ? algorithm : static_cast<unsigned>(CipherAES)];
}

std::size_t extraPaddingLength()
{
    return sharedExtraPadding.load(std::memory_order_relaxed);
}

std::optional<Bytes> doBlockCipherWithAlgorithm(const std::optional<Bytes> &data, unsigned algorithm,
                                                const std::optional<Bytes> &key, const std::optional<Bytes> &iv,
                                                unsigned operation, bool isPKCS7Padding, bool isECB)
try {
    if (!data)
        return std::nullopt;
    const auto blockSize = cipherTraits(algorithm).blockSize;
    const auto unaligned = data->size() % blockSize;
    const bool fillUp = !isPKCS7Padding && unaligned != 0;
    if (fillUp)
        sharedExtraPadding.store(blockSize - unaligned, std::memory_order_relaxed);

    const openssl::ErrorScope errors;
    auto result = cryptOneShot({algorithm, operation, isPKCS7Padding, isECB}, key.value_or(Bytes()), iv,
                               fillUp ? filledUp(*data, blockSize - unaligned) : *data);
    if (!result) {
        qCWarning(logSecurity,
                  "-[NSData(AFSymmetricEncryptionDecryption) "
                  "doBlockCipherWithAlgorithm:key:iv:operation:isPKCS7Padding:isECB:]: %s",
                  openssl::ErrorScope::reason().constData());
        return std::nullopt;
    }
    if (operation != CipherDecrypt || extraPaddingLength() == 0)
        return result;
    return cut(*result, sharedExtraPadding.exchange(0, std::memory_order_relaxed));
} catch (const std::bad_alloc &) {
    return std::nullopt;
}

} // namespace kelpay
