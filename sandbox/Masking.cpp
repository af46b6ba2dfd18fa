#include "Masking.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QMessageAuthenticationCode>
#include <QRegularExpression>
#include <QStringList>

namespace kelpay::sandbox {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype shortestCard = 12;

bool isNumber(const QString &text)
{
    static const QRegularExpression digits(u"^[0-9]+$"_s);
    return digits.match(text).hasMatch();
}

QString maskSecret(const QString &text)
{
    return text == "NA"_L1 ? text : u"len:%1"_s.arg(text.size());
}

QString maskDetail(const QString &detail)
{
    QStringList fields = detail.split(u'|');
    if (fields.size() != 9)
        return u"len:%1 fields:%2"_s.arg(detail.size()).arg(fields.size());
    fields[1] = tokenName(fields[1]);
    // The identifier of a saved card is no card number and stays readable.
    if (!isNumber(fields[2]) || fields[2].size() >= shortestCard)
        fields[2] = fields[2] == "NA"_L1 ? fields[2] : maskCard(fields[2]);
    fields[3] = maskSecret(fields[3]);
    fields[5] = maskSecret(fields[5]);
    fields[6] = maskSecret(fields[6]);
    return fields.join(u'|');
}

QJsonValue maskValue(const QJsonValue &value)
{
    if (value.isString())
        return maskLongNumbers(value.toString());
    if (value.isDouble())
        return value.toDouble() < 1e11 ? value : QJsonValue(maskLongNumbers(QString::number(value.toDouble(), 'f', 0)));
    if (value.isArray() || value.isNull() || value.isBool())
        return value.isArray() ? QJsonValue(u"array"_s) : value;
    QJsonObject object = value.toObject();
    for (auto member = object.begin(); member != object.end(); ++member)
        member.value() = maskValue(member.value());
    return object;
}

} // namespace

QString maskCard(const QString &number)
{
    if (number.size() < shortestCard)
        return QString(number.size(), u'*');
    return number.first(6) + QString(number.size() - 10, u'*') + number.last(4);
}

QString maskLongNumbers(const QString &text)
{
    static const QRegularExpression longNumber(u"\\d{12,19}"_s);
    QString masked;
    qsizetype end = 0;
    for (auto matches = longNumber.globalMatch(text); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        masked += text.mid(end, match.capturedStart() - end) + maskCard(match.captured());
        end = match.capturedEnd();
    }
    return masked + text.mid(end);
}

QString tokenName(const QString &token)
{
    return u"t:"_s +
           QString::fromLatin1(QCryptographicHash::hash(token.toUtf8(), QCryptographicHash::Sha256).toHex().first(12));
}

QJsonObject maskAnswer(QJsonObject answer)
{
    QJsonObject detail = answer.value("rd"_L1).toObject();
    if (detail.contains("t"_L1))
        detail.insert("t"_L1, tokenName(detail.value("t"_L1).toString()));
    if (detail.contains("ttl"_L1))
        detail.insert("ttl"_L1, maskLongNumbers(detail.value("ttl"_L1).toString()));
    if (!detail.isEmpty())
        answer.insert("rd"_L1, detail);
    return answer;
}

QString fingerprint(const QJsonObject &request, const QByteArray &key)
{
    const QJsonValue detail = request.value("ap"_L1).toObject().value("r"_L1);
    QStringList fields = detail.toString().split(u'|');
    if (request.value("m"_L1) == 100 || fields.size() != 9)
        return {};
    fields[1] = tokenName(fields[1]);
    return QString::fromLatin1(
        QMessageAuthenticationCode::hash(fields.join(u'|').toUtf8(), key, QCryptographicHash::Sha256).toHex());
}

QJsonObject maskRequest(const QJsonObject &request)
{
    QJsonObject masked = maskValue(request).toObject();
    QJsonObject parameters = masked.value("ap"_L1).toObject();
    const QJsonValue detail = request.value("ap"_L1).toObject().value("r"_L1);
    const bool isToken = request.value("m"_L1) == 100;
    if (!isToken && detail.isString()) {
        parameters.insert("r"_L1, maskDetail(detail.toString()));
        masked.insert("ap"_L1, parameters);
    }
    return masked;
}

} // namespace kelpay::sandbox
