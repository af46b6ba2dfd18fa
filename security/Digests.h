#pragma once

#include "platform/Bytes.h"

#include <cstddef>
#include <optional>

namespace kelpay {

// Message digests over the whole buffer. std::nullopt where the digest is not available: MD4 without OpenSSL's legacy
// provider. MD2, MD4, MD5 and SHA-1 are here for old formats; they protect nothing. Any thread.

std::optional<Bytes> MD2(const Bytes &data);
std::optional<Bytes> MD4(const Bytes &data);
std::optional<Bytes> MD5(const Bytes &data);
std::optional<Bytes> SHA1(const Bytes &data);
std::optional<Bytes> SHA224(const Bytes &data);
std::optional<Bytes> SHA256(const Bytes &data);
std::optional<Bytes> SHA384(const Bytes &data);
std::optional<Bytes> SHA512(const Bytes &data);

enum HmacAlgorithm : unsigned {
    HmacSHA1 = 0,
    HmacMD5 = 1,
    HmacSHA256 = 2,
    HmacSHA384 = 3,
    HmacSHA512 = 4,
    HmacSHA224 = 5,
};

/// The output's length in bytes; 0 for a number that is no HmacAlgorithm.
std::size_t hmacLength(unsigned hmacAlgorithm);
/// The HMAC of `data` under `key`; empty for a number that is no HmacAlgorithm.
std::optional<Bytes> HmacWithAlgorithm(const Bytes &data, unsigned hmacAlgorithm, const Bytes &key);

} // namespace kelpay
