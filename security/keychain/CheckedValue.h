#pragma once

#include "platform/Bytes.h"

#include <optional>

namespace kelpay {

// A value as text with a digest over itself and the item it belongs to, for a store that encrypts but keeps neither
// zero bytes nor "no value at all". The digest finds damage and values moved between items; keeping them secret, and
// others from writing them, is the store's part. Any thread.

/// base64(SHA-256(context, content) content), the content being one byte 0 for no value, or one byte 1 and the value.
std::optional<Bytes> checkedText(const std::optional<Bytes> &value, const Bytes &context);

struct CheckedValue
{
    bool isWhole = false;
    std::optional<Bytes> value;
};
CheckedValue openCheckedText(const Bytes &text, const Bytes &context);

} // namespace kelpay
