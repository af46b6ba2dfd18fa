#pragma once

#include "platform/Bytes.h"

#include <optional>

namespace kelpay {

// AES-256-GCM with a random nonce: one version byte, 12 bytes of nonce, the cipher text, 16 bytes of tag. `key` has 32
// bytes; `context` is bound to the value but not held in it. Any thread.

/// std::nullopt when the random source fails.
std::optional<Bytes> sealValue(const Bytes &key, const Bytes &plain, const Bytes &context);
/// std::nullopt unless every bit of key, context and sealed value is as it was.
std::optional<Bytes> openValue(const Bytes &key, const Bytes &sealed, const Bytes &context);

} // namespace kelpay
