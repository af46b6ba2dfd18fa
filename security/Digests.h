#pragma once

#include "platform/Bytes.h"

#include <optional>
#include <span>
#include <string_view>

namespace kelpay {

// Message digests over the whole buffer; std::nullopt where memory runs out or the digest is not available. SHA-1 is
// here for old formats; it protects nothing. Any thread.

std::optional<Bytes> SHA1(const Bytes &data);
std::optional<Bytes> SHA224(const Bytes &data);
std::optional<Bytes> SHA256(const Bytes &data);
/// Of the parts as they follow each other.
std::optional<Bytes> SHA256(std::span<const std::string_view> parts);
std::optional<Bytes> SHA384(const Bytes &data);
std::optional<Bytes> SHA512(const Bytes &data);

/// The digest that OpenSSL calls `name`.
std::optional<Bytes> digestNamed(const char *name, const Bytes &data);

} // namespace kelpay
