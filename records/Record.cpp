#include "Record.h"

#include "platform/KeyedArchiver.h"

#include <QJsonDocument>
#include <QLocale>

namespace kelpay {

using namespace Qt::StringLiterals;

std::optional<QString> textValue(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::String:
        return value.toString();
    case QJsonValue::Double: {
        const double number = value.toDouble();
        const qint64 whole = value.toInteger();
        return static_cast<double>(whole) == number ? QString::number(whole)
                                                    : QString::number(number, 'g', QLocale::FloatingPointShortest);
    }
    case QJsonValue::Bool:
        return value.toBool() ? u"1"_s : u"0"_s;
    default:
        return std::nullopt;
    }
}

namespace {

qsizetype digitsFrom(QStringView text, qsizetype begin)
{
    qsizetype end = begin;
    while (end < text.size() && text[end] >= u'0' && text[end] <= u'9')
        ++end;
    return end - begin;
}

/// How much of `text` is a decimal number; words such as "nan" and "inf" are none.
qsizetype numberLength(QStringView text)
{
    const qsizetype sign = text.startsWith(u'-') || text.startsWith(u'+') ? 1 : 0;
    const qsizetype whole = digitsFrom(text, sign);
    qsizetype end = sign + whole;
    qsizetype fraction = 0;
    if (end < text.size() && text[end] == u'.') {
        fraction = digitsFrom(text, end + 1);
        end += 1 + fraction;
    }
    if (whole + fraction == 0)
        return 0;
    if (end < text.size() && (text[end] == u'e' || text[end] == u'E')) {
        const bool isSigned = end + 1 < text.size() && (text[end + 1] == u'-' || text[end + 1] == u'+');
        const qsizetype begin = end + (isSigned ? 2 : 1);
        if (const qsizetype exponent = digitsFrom(text, begin); exponent > 0)
            end = begin + exponent;
    }
    return end;
}

double leadingNumber(const QString &text)
{
    const QString trimmed = text.trimmed();
    return trimmed.left(numberLength(trimmed)).toDouble();
}

} // namespace

double doubleValue(const QJsonValue &value)
{
    if (value.isString())
        return leadingNumber(value.toString());
    return value.isBool() ? (value.toBool() ? 1 : 0) : value.toDouble();
}

qint32 resultCode(const QJsonValue &value)
{
    constexpr double bound = 9223372036854775808.0; // 2 to the 63rd
    const double number = doubleValue(value);
    if (!(number >= -bound && number < bound))
        return -1;
    // A whole number of the service's stands as it is, also where a double would round it.
    const qint64 whole = value.toInteger(static_cast<qint64>(number));
    return static_cast<qint32>(static_cast<quint32>(whole));
}

namespace record {

QString describe(const QJsonObject &object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Indented)).trimmed();
}

Bytes archive(const QString &className, const QCborMap &values)
{
    return KeyedArchiver::archive(className, values);
}

std::optional<QCborMap> unarchive(const QString &className, const Bytes &archive)
{
    return KeyedArchiver::unarchive(className, archive);
}

} // namespace record
} // namespace kelpay
