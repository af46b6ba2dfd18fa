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

/// The text with every run of digits as long as a card number masked.
QString maskLongNumbers(const QString &text);

/// The plain answer as people may see it: the token becomes its name, card numbers in the merchant's texts are masked.
QJsonObject maskAnswer(QJsonObject answer);

/// HMAC-SHA-256 of a payment's whole detail string, the token by its name; "" for other requests. Who holds the key and
/// knows what should have been sent compares the nine fields by it; nobody else learns a field from it.
QString fingerprint(const QJsonObject &request, const QByteArray &key);

} // namespace kelpay::sandbox
