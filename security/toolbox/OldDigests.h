#pragma once

#include "platform/Bytes.h"

#include <optional>

namespace kelpay {

// Message digests for old formats; they protect nothing. std::nullopt where memory runs out, and for MD4 without
// OpenSSL's legacy provider. Any thread.

std::optional<Bytes> MD2(const Bytes &data);
std::optional<Bytes> MD4(const Bytes &data);
std::optional<Bytes> MD5(const Bytes &data);

} // namespace kelpay
