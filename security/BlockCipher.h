#pragma once

#include "platform/Bytes.h"

#include <cstddef>
#include <optional>

namespace kelpay {

enum CipherAlgorithm : unsigned {
    CipherAES = 0,
    CipherDES = 1,
    CipherTripleDES = 2,
    CipherCAST = 3,
    CipherRC4 = 4,
    CipherRC2 = 5,
    CipherBlowfish = 6,
};

enum CipherOperation : unsigned { CipherEncrypt = 0, CipherDecrypt = 1 };

/// Sizes of an algorithm, in bytes. A number that is no CipherAlgorithm stands for AES.
struct CipherTraits
{
    std::size_t minimumKeySize;
    std::size_t defaultKeySize; // the largest one the algorithm takes
    std::size_t keyStep;        // sizes in between are multiples of it
    std::size_t blockSize;      // also that of the initialisation vector; 16 for RC4, which uses none
};
const CipherTraits &cipherTraits(unsigned algorithm);

/// Encrypts or decrypts `data` in CBC mode from `iv` (zeros for none), or in ECB mode, which ignores it. Without
/// padding, data that doesn't fill its last block is filled up with zeros, and the number of them is kept in
/// `extraPaddingLength`, which the next decryption anywhere in the process cuts from its own result.
/// std::nullopt, with one log line, for a key size the algorithm doesn't take, an operation other than 0 and 1, an
/// initialisation vector shorter than a block, or data that isn't what the padding promises.
std::optional<Bytes> doBlockCipherWithAlgorithm(const std::optional<Bytes> &data, unsigned algorithm,
                                                const std::optional<Bytes> &key, const std::optional<Bytes> &iv,
                                                unsigned operation, bool isPKCS7Padding, bool isECB = false);

/// The zeros that the last unpadded operation on unaligned data appended; shared by the whole process on purpose.
std::size_t extraPaddingLength();

} // namespace kelpay
