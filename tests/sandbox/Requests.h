#pragma once

#include "sandbox/Identity.h"

#include <QByteArray>
#include <QJsonObject>

namespace kelpay::sandbox::test {

using namespace Qt::StringLiterals;

/// One identity for the whole test program, in a folder that goes with it.
const QString &identityFolder();
const Identity &identity();

/// A request in good order.
QJsonObject tokenRequest(const QString &msisdn = u"09121234567"_s, const QString &parameters = u"C1|1500000|title"_s);
/// The payment that follows `tokenAnswer`. The terminal is the one that belongs to `code`.
QJsonObject paymentRequest(const QJsonObject &tokenAnswer, const QString &card, const QString &code = u"5"_s,
                           const QString &msisdn = u"09121234567"_s);

QByteArray compact(const QJsonObject &object);

/// AES-256, PKCS#7 padding.
QByteArray encryptCbc(const QByteArray &plain, const QByteArray &key, const QByteArray &vector);
QByteArray decryptEcb(const QByteArray &cipherText, const QByteArray &key);
QByteArray wrapKey(const QByteArray &key);
QByteArray inLines(const QByteArray &base64);

/// The whole envelope of a request.
QByteArray seal(const QByteArray &json, const QByteArray &key);
/// A JSON string literal opened as the client does it: backslashes and the outer characters dropped.
QByteArray openAnswer(QByteArray body, const QByteArray &key);

} // namespace kelpay::sandbox::test
