#pragma once

#include "platform/Bytes.h"

#include <optional>

namespace kelpay {

struct OneShot
{
    unsigned algorithm;
    unsigned operation;
    bool isPadded;
    bool isECB;
};

/// The cipher alone: no shared state, no log line. `data` must fill its blocks unless it is to be padded; RC4 takes any
/// length and knows neither padding nor modes. std::nullopt on failure, with the reason in OpenSSL's queue, for which
/// the caller has an ErrorScope, or in errno.
std::optional<Bytes> cryptOneShot(const OneShot &job, const Bytes &key, const std::optional<Bytes> &iv,
                                  const Bytes &data);

} // namespace kelpay
