#pragma once

#include "Record.h"

namespace kelpay {

/// Additional request data.
struct Ard : Record<Ard>
{
    static constexpr const char *className = "Ard";

    QJsonValue r = QJsonValue::Undefined;

    template <class Self, class Visitor> static void visit(Self &self, const Visitor &visitor) { visitor("r", self.r); }
};

} // namespace kelpay
