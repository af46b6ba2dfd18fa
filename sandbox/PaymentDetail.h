#pragma once

#include <QString>

#include <optional>

namespace kelpay::sandbox {

/// How a payment is made, by the code that its detail string carries.
enum class PaymentForm { PinOnly = 5, Full = 59, Wallet = 99 };

/// The nine fields of a payment's detail string, without PIN, CVV2 and expiry: those are held to their form and
/// dropped.
struct PaymentDetail
{
    QString code; ///< of the payment parameters
    QString token;
    QString card; ///< a card number or a saved card's identifier; "NA" for the wallet
    PaymentForm form = PaymentForm::PinOnly;
    QString reference;
    QString terminal;

    /// std::nullopt, with a reason that names no value, where a field has not its form.
    static std::optional<PaymentDetail> parse(const QString &text, QString &reason);
};

} // namespace kelpay::sandbox
