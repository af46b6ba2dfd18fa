#include "Record.h"

#include "platform/KeyedArchiver.h"

#include <QJsonDocument>
#include <QLocale>

namespace kelpay {

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
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    default:
        return std::nullopt;
    }
}

double doubleValue(const QJsonValue &value)
{
    if (value.isString()) {
        // The longest leading part that is a number, as the C library reads it in the "C" locale.
        const QString text = value.toString().trimmed();
        for (qsizetype length = text.size(); length > 0; --length) {
            bool ok = false;
            if (const double number = QLocale::c().toDouble(QStringView(text).left(length), &ok); ok)
                return number;
        }
        return 0;
    }
    return value.isBool() ? (value.toBool() ? 1 : 0) : value.toDouble();
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
