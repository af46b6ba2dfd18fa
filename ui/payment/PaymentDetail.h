#pragma once

#include <QString>

#include <optional>

namespace kelpay {

/// What a payment sends: nine fields joined by "|", "NA" for one that does not apply, "(null)" for a missing value.
struct PaymentDetail
{
    // Of the session and the token answer.
    std::optional<QString> pcc;
    std::optional<QString> t;
    std::optional<QString> rn;
    std::optional<QString> ta;
    std::optional<QString> tb;

    /// PIN only.
    QString simple(const std::optional<QString> &card, const QString &pin) const;
    /// With CVV2 and expiry, "YY/MM".
    QString full(const std::optional<QString> &card, const QString &pin, const QString &cvv2,
                 const QString &expiry) const;
    QString wallet() const;
};

} // namespace kelpay
