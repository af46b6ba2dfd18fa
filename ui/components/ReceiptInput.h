#pragma once

#include <QMetaType>
#include <QString>

#include <memory>

namespace kelpay {

class Attempt;

/// What the payment screen hands to the receipt: how the payment ended, and what was paid to whom.
struct ReceiptInput
{
    QString amn;                 ///< Amount with its unit.
    QString mrc;                 ///< Merchant.
    QString dsc;                 ///< The service's description of a failure; a success has the receipt's lines.
    QString callbackCode;        ///< Reported on failure.
    QString callbackDescription; ///< Reported on failure.
    std::shared_ptr<Attempt> attempt;
};

} // namespace kelpay

Q_DECLARE_METATYPE(kelpay::ReceiptInput)
