#pragma once

#include "Record.h"

namespace kelpay {

/// Payment details.
struct Rdp : Record<Rdp>
{
    static constexpr const char *className = "Rdp";

    QJsonValue urn = QJsonValue::Undefined; ///< Unique reference (tracking) number.
    QJsonValue mrn = QJsonValue::Undefined; ///< Merchant reference number.

    template <class Self, class Visitor> static void visit(Self &self, const Visitor &visitor)
    {
        visitor("urn", self.urn);
        visitor("mrn", self.mrn);
    }
};

} // namespace kelpay
