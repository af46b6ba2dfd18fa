#pragma once

#include "platform/Bytes.h"

#include <QString>

#include <optional>

namespace kelpay {

// Hexadecimal: two lower-case digits a byte, high nibble first. Decoding takes both cases, leaves a lone last digit
// unused, and treats any other character as a programming error (see programmingError), with std::nullopt as null
// result; so is it where memory runs out. Any thread.

std::optional<Bytes> encodeToHexData(const Bytes &data);
std::optional<QString> encodeToHexString(const Bytes &data);
std::optional<Bytes> decodeFromHexData(const Bytes &hex);

/// Of the text's UTF-8 bytes.
std::optional<QString> encodeToHexString(const QString &text);
/// std::nullopt also where the decoded bytes are no UTF-8 text.
std::optional<QString> decodeFromHexString(const QString &hex);

} // namespace kelpay
