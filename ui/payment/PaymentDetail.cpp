#include "PaymentDetail.h"

#include <QStringList>

namespace kelpay {

using namespace Qt::StringLiterals;

namespace {

const QString notApplicable = u"NA"_s;

QString text(const std::optional<QString> &value)
{
    return value.value_or(u"(null)"_s);
}

} // namespace

QString PaymentDetail::simple(const std::optional<QString> &card, const QString &pin) const
{
    return QStringList{text(pcc), text(t), text(card), pin, u"5"_s, notApplicable, notApplicable, text(rn), text(ta)}
        .join(u'|');
}

QString PaymentDetail::full(const std::optional<QString> &card, const QString &pin, const QString &cvv2,
                            const QString &expiry) const
{
    return QStringList{text(pcc), text(t), text(card), pin, u"59"_s, cvv2, QString(expiry).remove(u'/'),
                       text(rn),  text(tb)}
        .join(u'|');
}

QString PaymentDetail::wallet() const
{
    return QStringList{text(pcc),     text(t),       notApplicable, notApplicable,     u"99"_s,
                       notApplicable, notApplicable, text(rn),      text(ta ? ta : tb)}
        .join(u'|');
}

} // namespace kelpay
