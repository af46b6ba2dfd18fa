#pragma once

#include <QDateTime>
#include <QString>

namespace kelpay {

/// A step in the life of a payment, for a host that wants to know more than its outcome. Holds nothing secret.
struct PaymentEvent
{
    /// What happened.
    enum class Kind {
        Started,          ///< A payment began; it has an identifier from here on.
        Refused,          ///< A start was refused, with a log line that says why. No identifier.
        TokenAsked,       ///< The service is being asked for a token.
        ScreenShown,      ///< The payment screen stands.
        Submitted,        ///< The payer submitted the payment.
        TransportError,   ///< No answer that could be used came, and none will. See isPayment and mayHaveMoved.
        Answered,         ///< The service answered; `code` is its result code.
        AnswerUnreadable, ///< It answered with what can't be opened; counts as code "0" and settles nothing.
        Withdrawn,        ///< Nothing of the payment has left, and nothing will.
        Reported,         ///< The status callback returned; `code` is what it was given.
        Abandoned,        ///< The screens went without a report: abandon(), or the host's window was destroyed.
        Ended,            ///< Nothing of the payment is on its way any more: another may be started.
    };

    Kind kind; ///< What happened.
    /// Of the payment, as in UnsettledAttempt.
    QString attempt = {};
    /// It is about the payment's own exchange, not the token's.
    bool isPayment = false;
    /// The payment's request may have reached the service.
    bool mayHaveMoved = false;
    QString code = {}; ///< The service's or the report's; see the kinds.
};

/// A payment whose request may have left while the host was told no outcome that holds.
struct UnsettledAttempt
{
    QString identifier; ///< For settleAttempt().
    QString merchantID; ///< As given to initWithMerchantID().
    /// The host's own text of the start.
    QString additionalData;
    /// In rials, as the service gave it.
    QString amount;
    /// SHA-256 of the payment's token in hexadecimal; the service knows the token.
    QString tokenHash;
    QDateTime begun; ///< When it was started.
    /// From when on its request may have left.
    QDateTime sent;
    /// When the service answered, with `code`; invalid, and "", where no answer came.
    QDateTime answered;
    QString code; ///< See `answered`.
    /// The code that the host was told meanwhile: "2525342" for a payment cancelled on its way; "" for none.
    QString reportedCode;
};

} // namespace kelpay
