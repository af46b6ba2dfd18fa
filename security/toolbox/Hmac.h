#pragma once

#include "platform/Bytes.h"

#include <cstddef>
#include <optional>

namespace kelpay {

// Message authentication codes. std::nullopt where memory, the digest or the random source fails. Any thread.

enum HmacAlgorithm : unsigned {
    HmacSHA1 = 0,
    HmacMD5 = 1,
    HmacSHA256 = 2,
    HmacSHA384 = 3,
    HmacSHA512 = 4,
    HmacSHA224 = 5,
};

/// The HMAC of `data` under `key`; empty for a number that is no HmacAlgorithm.
std::optional<Bytes> HmacWithAlgorithm(const Bytes &data, unsigned hmacAlgorithm, const Bytes &key);
/// A random key as long as the HMAC; empty for a number that is no HmacAlgorithm.
std::optional<Bytes> generateHmacKeyForAlgorithm(unsigned hmacAlgorithm);

} // namespace kelpay
