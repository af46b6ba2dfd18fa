#pragma once

#include "platform/Bytes.h"

#include <QString>

#include <optional>
#include <string_view>

namespace kelpay {

/// What a payment sends: nine fields joined by "|", "NA" for one that does not apply, "(null)" for a missing value; in
/// UTF-8, on SecretPages.
struct PaymentDetail
{
    // Of the session and the token answer.
    std::optional<QString> pcc;
    std::optional<QString> t;
    std::optional<QString> rn;
    std::optional<QString> ta;
    std::optional<QString> tb;

    /// PIN only.
    Bytes simple(const std::optional<QString> &card, std::string_view pin) const;
    /// With CVV2 and expiry, "YY/MM".
    Bytes full(const std::optional<QString> &card, std::string_view pin, std::string_view cvv2,
               const QString &expiry) const;
    Bytes wallet() const;
};

} // namespace kelpay
