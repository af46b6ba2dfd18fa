#include "security/OneShotCipher.h"

#include "security/BlockCipher.h"
#include "security/OpenSsl.h"

#include <array>
#include <cerrno>
#include <limits>
#include <new>

namespace kelpay {

namespace {

enum Row : std::size_t { Aes128, Aes192, Aes256, Des, TripleDes, Cast, Rc4, Rc2, Blowfish, RowCount };
enum Mode : std::size_t { Cbc, Ecb, ModeCount };

const EVP_CIPHER *fetched(Row row, Mode mode)
{
    static std::array<std::array<openssl::Cipher, ModeCount>, RowCount> ciphers{{
        {"AES-128-CBC", "AES-128-ECB"},
        {"AES-192-CBC", "AES-192-ECB"},
        {"AES-256-CBC", "AES-256-ECB"},
        {"DES-CBC", "DES-ECB"},
        {"DES-EDE3-CBC", "DES-EDE3-ECB"},
        {"CAST5-CBC", "CAST5-ECB"},
        {"RC4", "RC4"},
        {"RC2-CBC", "RC2-ECB"},
        {"BF-CBC", "BF-ECB"},
    }};
    return ciphers[row][mode].get();
}

Row rowOf(unsigned algorithm, std::size_t keySize)
{
    switch (algorithm) {
    case CipherDES:
        return Des;
    case CipherTripleDES:
        return TripleDes;
    case CipherCAST:
        return Cast;
    case CipherRC4:
        return Rc4;
    case CipherRC2:
        return Rc2;
    case CipherBlowfish:
        return Blowfish;
    default:
        return keySize == 16 ? Aes128 : keySize == 24 ? Aes192 : Aes256;
    }
}

bool isKeySize(unsigned algorithm, std::size_t size)
{
    const auto &traits = cipherTraits(algorithm);
    return size >= traits.minimumKeySize && size <= traits.defaultKeySize && size % traits.keyStep == 0;
}

// Gives the context its key. A size that the cipher doesn't have from the start is set before; RC2 uses all bits.
bool begin(EVP_CIPHER_CTX *context, const EVP_CIPHER *cipher, const OneShot &job, const Bytes &key,
           const std::uint8_t *iv)
{
    const int isEncryption = job.operation == CipherEncrypt ? 1 : 0;
    const auto size = static_cast<int>(key.size());
    const bool isRc2 = job.algorithm == CipherRC2;
    if (!isRc2 && EVP_CIPHER_get_key_length(cipher) == size)
        return EVP_CipherInit_ex2(context, cipher, key.data(), iv, isEncryption, nullptr) > 0;

    std::size_t bits = 8 * key.size();
    const OSSL_PARAM rc2[] = {OSSL_PARAM_construct_size_t(OSSL_CIPHER_PARAM_RC2_KEYBITS, &bits),
                              OSSL_PARAM_construct_end()};
    return EVP_CipherInit_ex2(context, cipher, nullptr, nullptr, isEncryption, nullptr) > 0 &&
           EVP_CIPHER_CTX_set_key_length(context, size) > 0 &&
           (!isRc2 || EVP_CIPHER_CTX_set_params(context, rc2) > 0) &&
           EVP_CipherInit_ex2(context, nullptr, key.data(), iv, isEncryption, nullptr) > 0;
}

} // namespace

std::optional<Bytes> cryptOneShot(const OneShot &job, const Bytes &key, const std::optional<Bytes> &iv,
                                  const Bytes &data)
try {
    const auto blockSize = cipherTraits(job.algorithm).blockSize;
    const bool isStream = job.algorithm == CipherRC4;
    const bool needsIv = !isStream && !job.isECB;
    static constexpr std::uint8_t zeros[16] = {};
    errno = EINVAL;
    if (job.operation > CipherDecrypt || !isKeySize(job.algorithm, key.size()) ||
        (needsIv && iv && iv->size() < blockSize) || data.size() > std::numeric_limits<int>::max() - blockSize)
        return std::nullopt;
    const EVP_CIPHER *cipher = fetched(rowOf(job.algorithm, key.size()), job.isECB ? Ecb : Cbc);
    if (!cipher) {
        errno = ENOSYS;
        return std::nullopt;
    }

    const openssl::CipherContext context(EVP_CIPHER_CTX_new());
    const std::uint8_t *start = !needsIv ? nullptr : iv ? iv->data() : zeros;
    const bool isPadded = job.isPadded && !isStream; // as a context is from the start
    if (!context || !begin(context.get(), cipher, job, key, start) ||
        (!isPadded && EVP_CIPHER_CTX_set_padding(context.get(), 0) <= 0))
        return std::nullopt;

    BytesBuilder output(data.size() + blockSize);
    auto *begin = output.extend(data.size() + blockSize);
    int written = 0;
    int tail = 0;
    if (EVP_CipherUpdate(context.get(), begin, &written, data.data(), static_cast<int>(data.size())) <= 0 ||
        EVP_CipherFinal_ex(context.get(), begin + written, &tail) <= 0)
        return std::nullopt;
    output.truncate(static_cast<std::size_t>(written) + static_cast<std::size_t>(tail));
    return output.take();
} catch (const std::bad_alloc &) {
    errno = ENOMEM;
    return std::nullopt;
}

} // namespace kelpay
