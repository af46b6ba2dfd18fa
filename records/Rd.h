#pragma once

#include "Record.h"

namespace kelpay {

/// Token details.
struct Rd : Record<Rd>
{
    static constexpr const char *className = "Rd";

    QJsonValue amn = QJsonValue::Undefined; ///< Amount in rials, digits.
    QJsonValue t = QJsonValue::Undefined;   ///< The payment token.
    QJsonValue pl = QJsonValue::Undefined;  ///< The payer's saved cards.
    QJsonValue ta = QJsonValue::Undefined;  ///< Terminal for PIN-only payments; "NA" forces the full form.
    QJsonValue tb = QJsonValue::Undefined;  ///< Terminal for full payments.
    QJsonValue bl = QJsonValue::Undefined;  ///< The card rules.
    QJsonValue mn = QJsonValue::Undefined;  ///< Merchant name.
    QJsonValue ttl = QJsonValue::Undefined; ///< Title of the purchase.
    QJsonValue rn = QJsonValue::Undefined;  ///< Reference number.
    QJsonValue vu = QJsonValue::Undefined;  ///< Merchant verification link.
    QJsonValue wb = QJsonValue::Undefined;  ///< Wallet balance in rials; "NA" without a wallet.
    QJsonValue wl = QJsonValue::Undefined;  ///< Kept for the round trip only.
    QJsonValue ldc = QJsonValue::Undefined; ///< "true" fixes the card number to the default saved card.

    template <class Self, class Visitor> static void visit(Self &self, const Visitor &visitor)
    {
        visitor("amn", self.amn);
        visitor("t", self.t);
        visitor("pl", self.pl);
        visitor("ta", self.ta);
        visitor("tb", self.tb);
        visitor("bl", self.bl);
        visitor("mn", self.mn);
        visitor("ttl", self.ttl);
        visitor("rn", self.rn);
        visitor("vu", self.vu);
        visitor("wb", self.wb);
        visitor("wl", self.wl);
        visitor("ldc", self.ldc);
    }
};

} // namespace kelpay
