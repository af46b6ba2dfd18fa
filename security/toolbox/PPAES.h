#pragma once

#include "platform/Bytes.h"

#include <QString>

#include <optional>

namespace kelpay {

// AES-256 in CBC mode with PKCS#7 padding, from a vector of zeros, under the first 32 bytes of the key text's UTF-8
// form. std::nullopt for a shorter text or a failed cipher. Any thread.

std::optional<Bytes> AES256EncryptWithKey(const Bytes &data, const QString &keyString);
std::optional<Bytes> AES256DecryptWithKey(const Bytes &data, const QString &keyString);

} // namespace kelpay
