#pragma once

#include "platform/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace kelpay {

// Random bytes and key material, from a generator of our own over the operating system's cryptographic source, whatever
// random source the host gave OpenSSL. std::nullopt, with one log line, when it fails; never weak bytes. Any thread.

std::optional<Bytes> generateSecureRandomData(std::size_t length);

/// A key of the algorithm's default size (see CipherAlgorithm): 32 bytes for AES.
std::optional<Bytes> generateSymmetricKeyForAlgorithm(unsigned algorithm);
/// A key of `keySize` bytes, moved to the nearest size the algorithm takes: 25 for AES gives 32, 3 for CAST gives 5.
std::optional<Bytes> generateSymmetricKeyForAlgorithm(unsigned algorithm, std::uint32_t keySize);
/// An initialisation vector of the algorithm's block size: 16 bytes for AES.
std::optional<Bytes> generateIVForAlgorithm(unsigned algorithm);

} // namespace kelpay
