#pragma once

#include "Rdp.h"
#include "Record.h"

namespace kelpay {

/// The payment answer. A payment succeeded when `rc` is 0 and `ti` is not.
struct BaseClassp : Record<BaseClassp>
{
    static constexpr const char *className = "BaseClassp";

    double sm = 0; ///< Kept for the round trip only.
    double ti = 0; ///< Trace number.
    double rc = 0; ///< Result code, 0 for success.
    double m = 0;
    QJsonValue ds = QJsonValue::Undefined; ///< Result description.
    QJsonValue st = QJsonValue::Undefined; ///< Server time stamp; its first ten characters are the date.
    Rdp rd;

    template <class Self, class Visitor> static void visit(Self &self, const Visitor &visitor)
    {
        visitor("sm", self.sm);
        visitor("ti", self.ti);
        visitor("rc", self.rc);
        visitor("m", self.m);
        visitor("ds", self.ds);
        visitor("st", self.st);
        visitor("rd", self.rd);
    }
};

} // namespace kelpay
