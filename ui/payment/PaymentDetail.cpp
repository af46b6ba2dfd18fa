#include "PaymentDetail.h"

#include <QStringList>

namespace kelpay {

namespace {

const QString notApplicable = QStringLiteral("NA");

QString text(const std::optional<QString> &value)
{
    return value.value_or(QStringLiteral("(null)"));
}

} // namespace

QString PaymentDetail::simple(const std::optional<QString> &card, const QString &pin) const
{
    return QStringList{text(pcc),     text(t),       text(card), pin,     QStringLiteral("5"),
                       notApplicable, notApplicable, text(rn),   text(ta)}
        .join(QLatin1Char('|'));
}

QString PaymentDetail::full(const std::optional<QString> &card, const QString &pin, const QString &cvv2,
                            const QString &expiry) const
{
    return QStringList{
        text(pcc), text(t), text(card), pin, QStringLiteral("59"), cvv2, QString(expiry).remove(QLatin1Char('/')),
        text(rn),  text(tb)}
        .join(QLatin1Char('|'));
}

QString PaymentDetail::wallet() const
{
    return QStringList{text(pcc),     text(t),       notApplicable, notApplicable,     QStringLiteral("99"),
                       notApplicable, notApplicable, text(rn),      text(ta ? ta : tb)}
        .join(QLatin1Char('|'));
}

} // namespace kelpay
