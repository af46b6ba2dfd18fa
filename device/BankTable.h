#pragma once

#include <QString>

namespace kelpay {

/// The Persian name of the bank that issues cards beginning like `cardNumber`; "" for an unknown beginning.
QString bankNameForPrefix(QStringView cardNumber);

} // namespace kelpay
