#pragma once

#include "Ard.h"
#include "Rd.h"
#include "Record.h"

namespace kelpay {

/// The token answer.
struct BaseClass : Record<BaseClass>
{
    static constexpr const char *className = "BaseClass";

    QJsonValue st = QJsonValue::Undefined; ///< Server time stamp; its first ten characters are the date.
    Ard ard;
    double sm = 0; ///< Kept for the round trip only.
    double ti = 0; ///< Trace number.
    double rc = 0; ///< Result code, 0 for success.
    double m = 0;
    QJsonValue ds = QJsonValue::Undefined; ///< Result description.
    Rd rd;
    double pc = 0;

    template <class Self, class Visitor> static void visit(Self &self, const Visitor &visitor)
    {
        visitor("st", self.st);
        visitor("ard", self.ard);
        visitor("sm", self.sm);
        visitor("ti", self.ti);
        visitor("rc", self.rc);
        visitor("m", self.m);
        visitor("ds", self.ds);
        visitor("rd", self.rd);
        visitor("pc", self.pc);
    }
};

} // namespace kelpay
