#pragma once

#include <QJsonObject>
#include <QString>

namespace kelpay::sandbox {

/// First six and last four digits, the rest as stars; what is too short for that as stars only.
QString maskCard(const QString &number);

/// A short name for a token by which its exchanges can be matched, and from which it can't be had.
QString tokenName(const QString &token);

/// The request as the journal may hold it. In a payment's detail string the token becomes its name, a card number is
/// masked, PIN and CVV2 become "len:<characters>"; a detail string that isn't nine fields becomes its length. Runs of
/// digits as long as a card number are masked wherever else they stand.
QJsonObject maskRequest(const QJsonObject &request);

} // namespace kelpay::sandbox
