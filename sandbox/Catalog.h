#pragma once

#include "Ledger.h"

#include <QByteArray>

namespace kelpay::sandbox {

/// Internet packages and charge products, as UTF-8 JSON.
QByteArray internetList();
QByteArray chargeList();

/// The merchant verification page of a purchase, and the one for a link that belongs to none, as UTF-8 HTML.
QByteArray verificationPage(const Purchase &purchase);
QByteArray unknownMerchantPage();

} // namespace kelpay::sandbox
